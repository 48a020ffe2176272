#include "ChildProcess.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <stdexcept>

namespace tarn::bench {

ChildProcess::ChildProcess(const std::function<void(std::FILE* out)>& body) {
    int ends[2] = {-1, -1};
    if (::pipe(ends) != 0) {
        throw std::runtime_error("no pipe to be had");
    }
    pid_ = ::fork();
    if (pid_ < 0) {
        throw std::runtime_error("no process to be had");
    }
    if (pid_ > 0) {
        ::close(ends[1]);
        in_ = ::fdopen(ends[0], "r");
        return;
    }
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    ::close(ends[0]);
    std::FILE* const out = ::fdopen(ends[1], "w");
    std::setvbuf(out, nullptr, _IOLBF, BUFSIZ);
    try {
        body(out);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "the other process failed: %s\n", error.what());
        ::_exit(1);
    }
    std::fflush(out);
    ::_exit(0);  // without the destructors of what was copied from the parent
}

ChildProcess::~ChildProcess() {
    ::kill(pid_, SIGTERM);
    ::waitpid(pid_, nullptr, 0);
    std::fclose(in_);
}

std::string ChildProcess::readLine() {
    char* line = nullptr;
    std::size_t size = 0;
    const auto length = ::getline(&line, &size, in_);
    std::string text = length > 0 ? std::string(line, static_cast<std::size_t>(length) - 1) : std::string();
    std::free(line);
    if (length <= 0) {
        throw std::runtime_error("the other process has ended");
    }
    return text;
}

}  // namespace tarn::bench
