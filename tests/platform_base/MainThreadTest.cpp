// A real QCoreApplication with the executor in it, driven from the test's own threads.
#include "TarnPlatform/base/MainThread.h"

#include <gmock/gmock.h>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <atomic>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <thread>

#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/base/TaskHandle.h"
#include "support/LogCapture.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;

class MainThreadTest : public testing::Test {
protected:
    /// Runs the application's event loop until `quit`, 20 s at most.
    void run() {
        QTimer::singleShot(20s, &application_, [] { QCoreApplication::exit(1); });
        ASSERT_EQ(QCoreApplication::exec(), 0) << "the loop was never told to quit";
    }
    static void quit() { QCoreApplication::exit(0); }

    void post(std::move_only_function<void()> work) {
        asio::post(main_->executor(), [work = std::move(work)]() mutable { work(); });
    }

    int argumentCount_ = 1;
    std::string name_ = "test";
    std::vector<char*> arguments_{name_.data(), nullptr};
    QCoreApplication application_{argumentCount_, arguments_.data()};
    std::unique_ptr<MainThread> main_ = std::make_unique<MainThread>();
};

TEST_F(MainThreadTest, RunsTheWorkOfEveryThreadInItsOrderOnTheMainThread) {
    constexpr int perWriter = 5000;
    const auto self = std::this_thread::get_id();
    std::vector<int> next{0, 0, 0};  // without a lock: the sanitizer sees the order or complains
    int left = 3 * perWriter;
    bool inOrder = true;
    std::vector<std::thread> writers;
    for (std::size_t writer = 0; writer < next.size(); ++writer) {
        writers.emplace_back([&, writer] {
            for (int i = 0; i < perWriter; ++i) {
                post([&, writer, i] {
                    inOrder = inOrder && next[writer]++ == i && std::this_thread::get_id() == self;
                    if (--left == 0) {
                        quit();
                    }
                });
            }
        });
    }
    run();
    for (auto& writer : writers) {
        writer.join();
    }
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(left, 0);
}

TEST_F(MainThreadTest, KeepsWhatCameBeforeTheLoopAndDispatchesLikeAnIoContext) {
    std::string order;
    post([&] {
        order += "a";
        asio::dispatch(main_->executor(), [&] { order += "b"; });
        asio::post(main_->executor(), [&] { order += "d"; });
        order += "c";
    });
    asio::dispatch(main_->executor(), [&] {
        order += "e";
        post([] { quit(); });
    });
    EXPECT_EQ(order, "");  // not inside a turn
    run();
    EXPECT_EQ(order, "abced");
}

TEST_F(MainThreadTest, LeavesRoomForQtWhileWorkKeepsComing) {
    std::function<void()> again = [&] { post([&] { again(); }); };
    again();
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (++ticks == 5) {
            quit();
        }
    });
    timer.start(1ms);
    run();
    EXPECT_EQ(ticks, 5);
    again = [] {};
}

TEST_F(MainThreadTest, GoesOnInANestedLoopWithWhatTheOuterOneHasLeft) {
    std::string order;
    post([&] {
        QEventLoop nested;
        post([&] {
            order += "2";
            nested.exit();
        });
        nested.exec();
        order += "3";
        quit();
    });
    post([&] { order += "1"; });
    run();
    EXPECT_EQ(order, "123");
}

TEST_F(MainThreadTest, DoesNotWakeUpWithoutWork) {
    int turns = 0;
    post([&] {
        post([&] {
            QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake,
                             [&] { ++turns; });
            QTimer::singleShot(300ms, [] { quit(); });
        });
    });
    asio::steady_timer idle(main_->executor(), 1h);
    idle.async_wait([](boost::system::error_code) {});
    run();
    EXPECT_LE(turns, 3);  // for the timer that ends the test
}

Task<void> waitForever(std::shared_ptr<std::string> log) {
    const std::shared_ptr<void> leaving(nullptr, [log](void*) { *log += "left "; });
    co_await sleepFor(Clock::system(), 1h);
    *log += "never";
}

TEST_F(MainThreadTest, DestroysWhatIsLeftWithoutRunningIt) {
    const auto executor = main_->executor();
    const auto log = std::make_shared<std::string>();
    TaskHandle::start(executor, waitForever(log));
    post([this] { post([this] { post([] { quit(); }); }); });  // the task waits by then
    run();
    const auto owned = std::make_shared<int>(0);
    std::atomic<bool> ran = false;
    asio::post(executor, [owned, &ran] { ran = true; });
    main_.reset();
    EXPECT_EQ(*log, "left ");
    EXPECT_EQ(owned.use_count(), 1);
    std::thread late([&] { asio::post(executor, [owned, &ran] { ran = true; }); });
    late.join();
    EXPECT_EQ(owned.use_count(), 1);
    QCoreApplication::processEvents();
    EXPECT_FALSE(ran);
}

TEST_F(MainThreadTest, SurvivesWorkThatThrows) {
    const test::LogCapture log;
    post([] { throw std::runtime_error("a bug"); });
    post([] { quit(); });
    run();
    EXPECT_THAT(log.lines("[main]"), testing::ElementsAre("[main] a bug"));
}

}  // namespace
}  // namespace tarn
