#include "ForkedChild.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <exception>

namespace tarn::test {

ForkedChild::ForkedChild(const std::function<std::string()>& body) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        std::abort();
    }
    process_ = ::fork();
    if (process_ == 0) {
        std::string result;
        try {
            result = body();
        } catch (const std::exception& error) {
            result = error.what();
        }
        const auto written = ::write(ends[1], result.data(), result.size());
        ::_exit(written == static_cast<ssize_t>(result.size()) ? 0 : 1);
    }
    ::close(ends[1]);
    output_ = ends[0];
}

ForkedChild::~ForkedChild() {
    ::close(output_);
    if (process_ > 0) {
        ::waitpid(process_, nullptr, 0);
    }
}

std::string ForkedChild::result() {
    std::string text;
    std::array<char, 4096> part{};
    for (ssize_t got = 0; (got = ::read(output_, part.data(), part.size())) > 0;) {
        text.append(part.data(), static_cast<std::size_t>(got));
    }
    int status = 0;
    if (::waitpid(process_, &status, 0) == process_ && status != 0) {
        text += "(ended with wait status " + std::to_string(status) + ")";
    }
    process_ = -1;
    return text;
}

void dropPrivileges() {
    constexpr unsigned nobody = 65534;
    if (::geteuid() == 0 && (::setgid(nobody) != 0 || ::setuid(nobody) != 0)) {
        std::abort();
    }
}

}  // namespace tarn::test
