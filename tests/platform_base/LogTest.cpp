#include "TarnPlatform/base/Log.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <sstream>

namespace tarn {
namespace {

constexpr int lines = 20000;

std::string readAll(int from) {
    std::string text;
    std::array<char, 4096> part{};
    for (ssize_t got = 0; (got = ::read(from, part.data(), part.size())) > 0;) {
        text.append(part.data(), static_cast<std::size_t>(got));
    }
    ::close(from);
    return text;
}

class LogTest : public testing::TestWithParam<bool> {};

TEST_P(LogTest, WaitsForNoReaderAndSaysWhatIsLeftOut) {
    std::array<int, 2> error{};
    std::array<int, 2> told{};
    ASSERT_EQ(GetParam() ? ::socketpair(AF_UNIX, SOCK_STREAM, 0, error.data()) : ::pipe(error.data()), 0);
    ASSERT_EQ(::pipe(told.data()), 0);
    const auto child = ::fork();
    if (child == 0) {
        ::close(error[0]);
        ::dup2(error[1], STDERR_FILENO);
        ::close(error[1]);
        for (int i = 0; i < lines; ++i) {
            logLine("line " + std::to_string(i) + std::string(40, '.'));
        }
        ::close(told[0]);
        ::close(told[1]);
        std::exit(0);  // which writes what waits
    }
    ::close(error[1]);
    ::close(told[1]);
    readAll(told[0]);  // until all is logged, while nobody reads
    std::istringstream text(readAll(error[0]));
    int taken = 0;
    std::string line;
    while (std::getline(text, line) && line == "line " + std::to_string(taken) + std::string(40, '.')) {
        ++taken;
    }
    EXPECT_GT(taken, 0);
    EXPECT_EQ(line,
              "[log] " + std::to_string(lines - taken) + " lines were left out: standard error took no more");
    EXPECT_FALSE(std::getline(text, line));
    ::waitpid(child, nullptr, 0);
}

INSTANTIATE_TEST_SUITE_P(Readers, LogTest, testing::Bool(),
                         [](const auto& kind) { return kind.param ? "Socket" : "Pipe"; });

}  // namespace
}  // namespace tarn
