// Tasks that are cancelled at every moment of their lives.

#include "TarnPlatform/base/TaskHandle.h"

#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

namespace tarn {
namespace {

struct Seen {
    bool began = false;
    bool ended = false;
    std::shared_ptr<int> held = std::make_shared<int>();
};

Task<void> waitForever(Seen& seen, std::shared_ptr<int>, asio::steady_timer& bell) {
    seen.began = true;
    co_await bell.async_wait(asValue);
    seen.ended = true;
}

class TaskHandleTest : public testing::Test {
protected:
    void start() {
        handle_ = TaskHandle::start(context_.get_executor(), waitForever(seen_, seen_.held, bell_));
    }
    void settle() {
        context_.restart();
        context_.poll();
    }
    bool isGone() const { return seen_.held.use_count() == 1; }

    asio::io_context context_;
    asio::steady_timer bell_{context_, asio::steady_timer::time_point::max()};
    Seen seen_;
    TaskHandle handle_;
};

TEST_F(TaskHandleTest, CancelledFromInsideBeforeItsFirstStepItNeverBegins) {
    asio::post(context_, [this] { handle_.cancel(); });
    start();
    EXPECT_FALSE(seen_.began);
    settle();
    EXPECT_FALSE(seen_.began);
    EXPECT_TRUE(isGone());
}

TEST_F(TaskHandleTest, ACancellationThatComesAfterTheEndDoesNothing) {
    start();
    settle();
    bell_.cancel();  // ends the task in its next step
    handle_.cancel();
    handle_ = TaskHandle();
    settle();
    EXPECT_TRUE(seen_.ended);
    EXPECT_TRUE(isGone());
}

TEST_F(TaskHandleTest, MayCancelItselfAndThenReturn) {
    const auto cancelItself = [](TaskHandle& handle) -> Task<void> {
        handle.cancel();
        co_return;
    };
    handle_ = TaskHandle::start(context_.get_executor(), cancelItself(handle_));
    settle();
    handle_.cancel();
    settle();
}

}  // namespace
}  // namespace tarn
