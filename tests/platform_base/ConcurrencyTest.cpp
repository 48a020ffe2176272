#include <gmock/gmock.h>

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <thread>

#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/base/EventQueue.h"
#include "support/RunTask.h"

namespace tarn {
namespace {

Task<std::vector<int>> readAll(EventQueue<int> queue) {
    std::vector<int> values;
    for (;;) {
        const auto value = co_await queue.next();
        if (!value) {
            co_return values;
        }
        values.push_back(*value);
    }
}

TEST(EventQueue, KeepsEveryValueOfEveryWriterInOrder) {
    constexpr int perWriter = 20000;
    const EventQueue<int> queue;
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 3; ++writer) {
        writers.emplace_back([queue, writer] {
            for (int i = 0; i < perWriter; ++i) {
                queue.push(writer * perWriter + i);
            }
        });
    }
    std::thread closer([&] {
        for (auto& writer : writers) {
            writer.join();
        }
        queue.finish();
        queue.push(-1);
    });
    asio::io_context context(1);
    const auto values = test::runTask(context, readAll(queue));
    closer.join();
    ASSERT_EQ(values.size(), 3U * perWriter);
    std::vector<int> next{0, perWriter, 2 * perWriter};
    for (const int value : values) {
        EXPECT_EQ(value, next[static_cast<std::size_t>(value / perWriter)]++);
    }
}

TEST(EventQueue, LosesNothingWhenItsReaderIsCancelled) {
    const EventQueue<int> queue;
    asio::io_context context(1);
    asio::cancellation_signal signal;
    std::exception_ptr thrown;
    asio::co_spawn(
        context, queue.next(),
        asio::bind_cancellation_slot(signal.slot(), [&](std::exception_ptr error, const std::optional<int>&) {
            thrown = std::move(error);
        }));
    context.poll();
    signal.emit(asio::cancellation_type::terminal);
    context.restart();
    context.run();
    EXPECT_TRUE(thrown);
    queue.push(7);
    EXPECT_EQ(test::runTask(context, queue.next()), 7);
}

TEST(Clock, CallsNothingThatWasTakenBack) {
    asio::io_context context(1);
    int calls = 0;
    auto late = Clock::system()->callAfter(context.get_executor(), std::chrono::nanoseconds(0),
                                           [&] { calls += 100; });
    const auto kept =
        Clock::system()->callAfter(context.get_executor(), std::chrono::nanoseconds(1), [&] { ++calls; });
    std::this_thread::yield();
    late.reset();
    context.run();
    EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace tarn
