// Real programs, well-behaved and not, behind ChildProcess and ChildConversation.

#include "TarnPlatform/process/ChildProcess.h"

#include <gmock/gmock.h>
#include <sys/socket.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <future>
#include <iostream>
#include <thread>

#include "Processes.h"
#include "TarnPlatform/process/ChildConversation.h"
#include "support/LogCapture.h"
#include "support/Program.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using testing::HasSubstr;
using testing::IsEmpty;

ChildProcess::TimePoint in(std::chrono::milliseconds time) {
    return steady_clock::now() + time;
}

std::unique_ptr<ChildProcess> startShell(const std::string& line) {
    auto child = ChildProcess::start(ChildCommand::shell(line));
    EXPECT_TRUE(child) << child.error().description;
    return std::move(*child);
}

TEST(ChildProcess, HandsOverWhatIsWrittenAndReadsItsAnswers) {
    const auto child = startShell("cat");
    ASSERT_TRUE(child->write("one\ntwo\nthree", in(10s)));
    EXPECT_EQ(child->readUntil('\n', 100, in(10s)), "one");
    EXPECT_EQ(child->readExactly(2, in(10s)), "tw");
    EXPECT_TRUE(child->hasUnreadOutput());
    child->closeInput();
    EXPECT_EQ(child->readToEnd(100, in(10s)), "o\nthree");
}

TEST(ChildProcess, TakesOutputWhileItWritesSoThatNeitherSideWaitsForTheOther) {
    const auto child = startShell("cat");
    const std::string text(1U << 19, 'x');
    ASSERT_TRUE(child->write(text, in(20s)));
    EXPECT_EQ(child->readExactly(text.size(), in(20s)), text);
}

TEST(ChildProcess, InheritsNothingButTheStandardDescriptors) {
    const UniqueDescriptor leak(::socket(AF_UNIX, SOCK_STREAM, 0));
    ASSERT_GT(leak.get(), 2);
    const auto child = startShell("ls /proc/self/fd");
    EXPECT_EQ(child->readToEnd(1000, in(10s)), "0\n1\n2\n3\n") << "3 is the folder that ls reads";
}

TEST(ChildProcess, LogsItsErrorsLineByLineAndFitForATerminal) {
    const test::LogCapture log;
    auto command = ChildCommand::shell(R"(printf 'one\n\n\033[31mtwo\nlast' >&2; printf %01500d 0 >&2)");
    command.errors = ChildErrors::log;
    {
        const auto child = ChildProcess::start(command);
        ASSERT_TRUE(child);
        ASSERT_TRUE((*child)->finish(in(10s)));
    }
    EXPECT_THAT(log.lines("[command]"), testing::ElementsAre("[command] one", "[command]  [31mtwo",
                                                             "[command] last" + std::string(996, '0'),
                                                             "[command] " + std::string(504, '0')));
}

TEST(ChildProcess, FailsByTheDeadlineWhereTheChildDoesNotDoItsPart) {
    struct Fault {
        const char* line;
        ErrorKind kind;
        const char* text;
    };
    const Fault faults[] = {
        {"exec sleep 1000", ErrorKind::timeout, "does not read"},
        {"yes & exec sleep 1000", ErrorKind::timeout, "does not read"},
        {"cat > /dev/null; exec sleep 1000", ErrorKind::timeout, "did not answer"},
        {"exit 3", ErrorKind::closed, "ended with status 3"},
        {"head -c 200000 > /dev/null; kill -KILL $$", ErrorKind::closed, "ended by signal 9"},
        {"exec >&-; cat > /dev/null", ErrorKind::closed, "closed its output"},
        {"yes | tr -d '\\n' & exec cat > /dev/null", ErrorKind::protocol, "more than 300000 bytes"},
    };
    for (const auto& [line, kind, text] : faults) {
        SCOPED_TRACE(line);
        const auto child = startShell(line);
        const auto deadline = in(500ms);
        auto outcome = child->write(std::string(200000, 'x'), deadline);
        if (outcome) {
            const auto answer =
                child->readUntil('\n', 300000, kind == ErrorKind::timeout ? deadline : in(20s));
            outcome = answer ? Result<void>{} : std::unexpected(answer.error());
        }
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.error().kind, kind) << outcome.error().description;
        EXPECT_THAT(outcome.error().description, HasSubstr(text));
    }
}

TEST(ChildProcess, SaysWhichProgramCannotBeStarted) {
    const std::vector<std::string> programs{"no-such-program-of-tarn", "/nowhere/program", "/etc/passwd"};
    for (const auto& program : programs) {
        const auto child = ChildProcess::start({.arguments = {program}, .environment = {}});
        ASSERT_FALSE(child) << program;
        EXPECT_EQ(child.error().kind, ErrorKind::unavailable);
        EXPECT_THAT(child.error().description, HasSubstr(program));
    }
    EXPECT_THAT(test::ownChildren(), IsEmpty());
}

TEST(ChildProcess, EndsItsWholeGroupAndLeavesNoZombie) {
    for (const std::string line :
         {"cat", "trap '' TERM HUP INT; echo up; while :; do sleep 1000; done", "cat | cat | cat",
          "sleep 1000 | sleep 1000", "yes", "exec >&- <&-; exec sleep 1000", "exit 0"}) {
        auto child = startShell("echo ready; " + line);
        ASSERT_EQ(child->readUntil('\n', 100, in(10s)), "ready");
        std::vector<UniqueDescriptor> group;
        for (const auto& process : test::allProcesses()) {
            if (process.group == child->id()) {
                group.push_back(test::watch(process.id));
            }
        }
        EXPECT_GE(group.size(), 1U) << line;
        child.reset();
        for (const auto& process : group) {
            EXPECT_TRUE(!process || test::ends(process)) << line;
        }
        EXPECT_THAT(test::ownChildren(), IsEmpty()) << line;
    }
}

TEST(ChildProcess, OutlivesTheThreadThatStartedItAndManyThreadsMayStartSome) {
    std::vector<std::unique_ptr<ChildProcess>> children(8);
    {
        std::vector<std::jthread> threads;
        threads.reserve(children.size());
        for (auto& child : children) {
            threads.emplace_back([&child] { child = startShell("cat"); });
        }
    }
    for (const auto& child : children) {
        ASSERT_TRUE(child->write("still here\n", in(10s)));
        EXPECT_EQ(child->readUntil('\n', 100, in(10s)), "still here");
    }
}

// The test runs itself as the process that is killed: there it only starts a stubborn child and tells its
// number.
TEST(ChildProcess, DiesWithTheProcessThatStartedIt) {
    if (std::getenv("TARN_TEST_HOLDER") != nullptr) {
        const auto child = startShell("trap '' TERM HUP; exec sleep 1000");
        std::cout << "\nchild " << child->id() << std::endl;
        std::cin.get();
        return;
    }
    const auto self = std::filesystem::read_symlink("/proc/self/exe").string();
    const auto holder = ChildProcess::start(
        {.arguments = {self, "--gtest_filter=ChildProcess.DiesWithTheProcessThatStartedIt"},
         .environment = {{"TARN_TEST_HOLDER", "1"}}});
    ASSERT_TRUE(holder);
    Result<std::string> line;
    do {
        line = (*holder)->readUntil('\n', 1000, in(20s));
        ASSERT_TRUE(line) << line.error().description;
    } while (!line->starts_with("child "));
    const auto child = test::watch(std::stoi(line->substr(6)));
    ASSERT_TRUE(child);
    ::kill((*holder)->id(), SIGKILL);
    EXPECT_TRUE(test::ends(child));
}

TEST(ChildConversation, DoesNotSpinOnAProgramThatAlwaysDies) {
    const test::TemporaryFolder folder;
    ChildConversation conversation("the oracle",
                                   ChildCommand::shell("echo start >> " + folder.file("starts")), {5s, 5s});
    const auto talk = [](ChildProcess& child, ChildProcess::TimePoint deadline) -> Result<void> {
        const auto line = child.readUntil('\n', 100, deadline);
        return line ? Result<void>{} : std::unexpected(line.error());
    };
    const auto begin = steady_clock::now();
    Result<void> last;
    for (int question = 0; question < 50; ++question) {
        last = conversation.ask(talk);
        ASSERT_FALSE(last);
    }
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(steady_clock::now() - begin).count();
    const auto starts = std::ranges::count(test::readFile(folder.file("starts")), '\n');
    EXPECT_GE(starts, 2) << "one failure is forgiven at once";
    EXPECT_LE(starts, 2 + seconds);
    EXPECT_THAT(last.error().description,
                HasSubstr("the oracle has failed at every start (ended with status 0)"));
}

TEST(ChildConversation, GivesUpEveryQuestionOnceItIsStopped) {
    ChildConversation conversation("the oracle", ChildCommand::shell("echo ready; exec sleep 1000"),
                                   {1h, 1h});
    std::promise<void> asked;
    std::vector<std::future<Result<void>>> answers;
    for (int caller = 0; caller < 3; ++caller) {
        answers.push_back(std::async(std::launch::async, [&] {
            return conversation.ask([&](ChildProcess& child, auto deadline) -> Result<void> {
                const auto ready = child.readUntil('\n', 100, deadline);
                asked.set_value();
                const auto line = child.readUntil('\n', 100, deadline);
                return line ? Result<void>{} : std::unexpected(line.error());
            });
        }));
    }
    asked.get_future().wait();  // the others wait for this one
    conversation.stop();
    for (auto& answer : answers) {
        const auto outcome = answer.get();
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.error().kind, ErrorKind::cancelled) << outcome.error().description;
    }
    EXPECT_THAT(test::ownChildren(), IsEmpty());
}

}  // namespace
}  // namespace tarn
