#pragma once

#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

namespace tarn {

/// Runs work one piece after the other, in the order it was given, on a thread of its own, which is started
/// by the first use and carries the first 15 bytes of the label as its name.
///
/// A real-time callback gives no work: it leaves its data where `drain` finds it (a ring without locks) and
/// calls `signalRt`. What was signalled before a piece of work was given is drained before that work runs,
/// and not before work that had been given earlier, unless an earlier signal is just then being served: a
/// drain takes all there is, and signals that come close together share one.
class SerialQueue {
public:
    using Work = std::move_only_function<void()>;

    explicit SerialQueue(std::string label);

    /// Finishes what was given, a pending signal included, and joins the thread. From the queue's own thread
    /// the rest runs here, and the thread ends by itself after the piece of work that destroyed the queue.
    /// Requires: nobody else uses the queue any more, real-time callbacks included.
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    /// Thread: any; never waits for the work. Work must not throw.
    void async(Work work);

    /// Runs `function` on the queue and returns what it returns, or throws what it throws. From the queue's
    /// own thread it runs at once. Requires: the caller holds nothing that the queue's work waits for.
    template <typename F>
    std::invoke_result_t<F&> sync(F&& function) {
        if (isCurrent()) {
            return function();
        }
        std::packaged_task<std::invoke_result_t<F&>()> task(std::ref(function));
        auto result = task.get_future();
        async([task = std::move(task)]() mutable { task(); });
        return result.get();
    }

    /// What a signal calls from now on; empty: nothing. The old one neither runs nor lives any more when this
    /// returns, unless it is the caller. Thread: any; waits like `sync`.
    void setSource(std::function<void()> drain);

    /// Makes the thread call the source; without one nothing happens.
    /// Thread: any, audio (RT) included: no lock, no allocation, no wait.
    void signalRt() noexcept;

    /// Whether the caller runs on this queue.
    bool isCurrent() const;

private:
    struct State;

    // Shared with the thread, which outlives a queue that is destroyed by its own work.
    std::shared_ptr<State> state_;
    const std::string label_;
    std::thread thread_;  // started under the state's mutex
};

}  // namespace tarn
