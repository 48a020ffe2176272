// Two instances in one process, each with a connection of its own, and the desktop's command line tools on a
// private bus.
#include "TarnPlatform/desktop/SingleInstance.h"

#include <gmock/gmock.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <cstdlib>
#include <list>

#include "TarnPlatform/bus/BusThread.h"
#include "support/LogCapture.h"
#include "support/Program.h"
#include "support/keyring/PrivateKeyring.h"

namespace tarn {
namespace {

using test::PrivateKeyring;
using testing::ElementsAre;

constexpr const char* applicationID = "com.example.Probe";

class SingleInstanceTest : public testing::Test {
protected:
    std::unique_ptr<SingleInstance> claim() {
        return SingleInstance::claim(
            buses_.emplace_back(), applicationID, context_.get_executor(),
            {.activate = [this] { calls_.emplace_back("activate"); },
             .open =
                 [this](const std::vector<std::string>& urls) {
                     for (const auto& url : urls) {
                         calls_.push_back("open " + url);
                     }
                 },
             .action = [this](const std::string& name) { calls_.push_back("action " + name); }});
    }

    /// Runs what has been posted until there were `count` calls.
    const std::vector<std::string>& callsAfter(std::size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (calls_.size() < count && std::chrono::steady_clock::now() < deadline) {
            context_.run_one_until(deadline);
        }
        context_.poll();
        return calls_;
    }

    static int gdbus(const std::string& method, std::vector<std::string> arguments) {
        std::vector<std::string> words{"/usr/bin/gdbus",
                                       "call",
                                       "--session",
                                       "--dest",
                                       applicationID,
                                       "--object-path",
                                       "/com/example/Probe",
                                       "--method",
                                       "org.freedesktop.Application." + method};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return tool(std::move(words));
    }
    static int tool(std::vector<std::string> words) {
        test::Program program(
            {.arguments = std::move(words),
             .environment = {{"DBUS_SESSION_BUS_ADDRESS", std::getenv("DBUS_SESSION_BUS_ADDRESS")}}});
        return program.wait();
    }

    asio::io_context context_{1};
    asio::executor_work_guard<asio::io_context::executor_type> work_ = asio::make_work_guard(context_);
    std::vector<std::string> calls_;
    std::list<BusThread> buses_;
    const test::LogCapture log_;
};

TEST_F(SingleInstanceTest, HandsOverToTheFirstAndFollowsItWhenItIsGone) {
    const PrivateKeyring bus(PrivateKeyring::Mode::absent);
    auto first = claim();
    auto second = claim();
    EXPECT_TRUE(first->isPrimary());
    ASSERT_FALSE(second->isPrimary());
    const std::string longUrl = "tarn://login?token=" + std::string(10000, 'x');
    EXPECT_TRUE(second->forward({"tarn://a?b=ü%20", longUrl}));
    EXPECT_TRUE(second->activate());
    EXPECT_THAT(callsAfter(3), ElementsAre("open tarn://a?b=ü%20", "open " + longUrl, "activate"));

    first.reset();
    const auto gone = second->forward({"tarn://late?token=secret"});
    ASSERT_FALSE(gone);
    EXPECT_EQ(gone.error().kind, ErrorKind::unavailable);
    EXPECT_TRUE(claim()->isPrimary());
    EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(SingleInstanceTest, ListensToTheDesktopsTools) {
    const PrivateKeyring bus(PrivateKeyring::Mode::absent);
    const auto first = claim();
    EXPECT_EQ(tool({"/usr/bin/gapplication", "launch", applicationID}), 0);
    EXPECT_EQ(tool({"/usr/bin/gapplication", "launch", applicationID, "tarn://open"}), 0);
    EXPECT_EQ(tool({"/usr/bin/gapplication", "action", applicationID, "show", "'value'"}), 0);
    EXPECT_THAT(callsAfter(3), ElementsAre("activate", testing::StartsWith("open tarn://"), "action show"));
}

TEST_F(SingleInstanceTest, RefusesRubbishAndWorksOn) {
    const PrivateKeyring bus(PrivateKeyring::Mode::absent);
    const auto first = claim();
    const auto second = claim();
    for (const auto& [method, arguments] :
         std::vector<std::pair<std::string, std::vector<std::string>>>{{"Open", {}},
                                                                       {"Open", {"'tarn://open'", "{}"}},
                                                                       {"Open", {"[1, 2]", "@a{sv} {}"}},
                                                                       {"Open", {"['tarn://open']"}},
                                                                       {"Activate", {"'x'"}},
                                                                       {"ActivateAction", {"'x'"}},
                                                                       {"Quit", {}}}) {
        EXPECT_NE(gdbus(method, arguments), 0) << method;
    }
    const auto kindOf = [&](const std::vector<std::string>& urls) {
        const auto answer = second->forward(urls);
        return answer ? ErrorKind::closed : answer.error().kind;
    };
    EXPECT_EQ(kindOf({std::string(SingleInstance::longestUrl + 1, 'x')}), ErrorKind::invalidInput);
    EXPECT_EQ(kindOf(std::vector<std::string>(SingleInstance::mostUrls + 1, "tarn://open")),
              ErrorKind::invalidInput);
    EXPECT_EQ(kindOf({"tarn://\xff"}), ErrorKind::invalidInput);
    EXPECT_EQ(kindOf({std::string("tarn://a\0b", 10)}), ErrorKind::invalidInput);
    EXPECT_EQ(gdbus("Open", {"['tarn://open']", "{'desktop-startup-id': <'1'>}"}), 0);
    EXPECT_THAT(callsAfter(1), ElementsAre("open tarn://open"));
    EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(SingleInstanceTest, KeepsWhatCameBeforeItsNameWasGivenBack) {
    const PrivateKeyring bus(PrivateKeyring::Mode::absent);
    const auto first = claim();
    const auto second = claim();
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(second->forward({std::to_string(i)}));
    }
    first->release();
    first->release();
    context_.poll();
    EXPECT_EQ(calls_.size(), 20U);
    const auto late = second->activate();
    ASSERT_FALSE(late);
    EXPECT_EQ(late.error().kind, ErrorKind::unavailable);
    EXPECT_TRUE(claim()->isPrimary());
}

TEST_F(SingleInstanceTest, CallsNobodyOnceItIsDestroyed) {
    const PrivateKeyring bus(PrivateKeyring::Mode::absent);
    auto first = claim();
    ASSERT_TRUE(claim()->activate());
    first.reset();
    context_.poll();
    EXPECT_THAT(calls_, testing::IsEmpty());
}

TEST_F(SingleInstanceTest, IsThePrimaryWithoutABusAndSaysSoOnce) {
    const PrivateKeyring bus(PrivateKeyring::Mode::noBus);
    const auto first = claim();
    EXPECT_TRUE(first->isPrimary());
    first->release();
    EXPECT_THAT(log_.lines(), ElementsAre(testing::StartsWith("[desktop] no session bus (there is none)")));
}

TEST_F(SingleInstanceTest, DoesNotWaitForABusThatHangs) {
    const PrivateKeyring bus(PrivateKeyring::Mode::noBus);
    const auto socket = bus.folder() / "silent";
    asio::local::stream_protocol::acceptor silent(context_, socket.string());
    ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + socket.string()).c_str(), 1);
    const auto first = claim();
    EXPECT_TRUE(first->isPrimary());
    EXPECT_THAT(log_.lines(), ElementsAre(testing::StartsWith("[desktop] the session bus does not answer")));
}

TEST_F(SingleInstanceTest, OutlivesItsBus) {
    PrivateKeyring bus(PrivateKeyring::Mode::absent);
    const auto first = claim();
    const auto second = claim();
    bus.killBus();
    const auto answer = second->activate();
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.error().kind, ErrorKind::unavailable);
    first->release();
    EXPECT_TRUE(first->isPrimary());
    EXPECT_THAT(log_.lines(), ElementsAre(testing::StartsWith("[desktop] the session bus is gone")));
}

}  // namespace
}  // namespace tarn
