#include "Program.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace tarn::test {
namespace {

constexpr std::chrono::milliseconds pollTime{5};

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> list;
    for (auto& text : texts) {
        list.push_back(text.data());
    }
    list.push_back(nullptr);
    return list;
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
    std::string path = "/tmp/tarn-test-XXXXXX";
    if (::mkdtemp(path.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    path_ = path;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(const std::string& name, const std::string& content) const {
    std::ofstream(file(name), std::ios::binary) << content;
    return file(name);
}

std::string readFile(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

Program::Program(const Setup& setup) {
    auto arguments = setup.arguments;
    std::map<std::string, std::string> environment{{"HOME", folder_.path()}, {"LC_ALL", "C.UTF-8"}};
    for (const auto* const name :
         {"PATH", "ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS", "LLVM_PROFILE_FILE"}) {
        if (const char* const value = std::getenv(name)) {
            environment[name] = value;
        }
    }
    for (const auto& [name, value] : setup.environment) {
        environment[name] = value;
    }
    std::vector<std::string> variables;
    for (const auto& [name, value] : environment) {
        variables.push_back(name + "=" + value);
    }
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, setup.inputFile.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, folder_.file("out").c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&files, 2, folder_.file("err").c_str(), O_WRONLY | O_CREAT, 0600);
    const int error = ::posix_spawn(&pid_, arguments.front().c_str(), &files, nullptr,
                                    pointers(arguments).data(), pointers(variables).data());
    posix_spawn_file_actions_destroy(&files);
    if (error != 0) {
        throw std::runtime_error("cannot start " + arguments.front());
    }
}

Program::~Program() {
    if (!hasEnded()) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
}

void Program::signal(int number) const {
    ::kill(pid_, number);
}

int Program::wait(std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!hasEnded()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the program still runs; it said: " + err());
        }
        std::this_thread::sleep_for(pollTime);
    }
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : 128 + WTERMSIG(status_);
}

void Program::waitFor(const std::string& stream, const std::string& text) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (;;) {
        const bool ended = hasEnded();
        if (readFile(folder_.file(stream)).find(text) != std::string::npos) {
            return;
        }
        if (ended || std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the program did not write '" + text + "'; it said: " + err());
        }
        std::this_thread::sleep_for(pollTime);
    }
}

bool Program::hasEnded() {
    if (pid_ > 0 && ::waitpid(pid_, &status_, WNOHANG) == pid_) {
        pid_ = -1;
    }
    return pid_ < 0;
}

}  // namespace tarn::test
