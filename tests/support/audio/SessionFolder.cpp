#include "SessionFolder.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace tarn::test {

SessionFolder::SessionFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "tarn-audio-XXXXXX";
    std::array<int, 2> pipe{};
    if (::mkdtemp(pattern.data()) == nullptr || ::pipe2(pipe.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("private audio server: cannot make a folder");
    }
    path_ = pattern;
    alive_ = pipe[1];
    std::array<std::string, 5> words{"sh", "-c", "read -r _; rm -rf -- \"$1\"", "sh", path_};
    std::array<char*, 6> arguments{words[0].data(), words[1].data(), words[2].data(),
                                   words[3].data(), words[4].data(), nullptr};
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, pipe[0], 0);
    posix_spawn_file_actions_addopen(&files, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&files, 2, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // Out of reach of what ends the test's own group, a Ctrl-C for one.
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    const int error = ::posix_spawn(&remover_, "/bin/sh", &files, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    ::close(pipe[0]);
    if (error != 0) {
        ::close(alive_);
        std::filesystem::remove(path_);
        throw std::runtime_error("private audio server: cannot start sh");
    }
}

SessionFolder::~SessionFolder() {
    ::close(alive_);
    ::waitpid(remover_, nullptr, 0);
}

}  // namespace tarn::test
