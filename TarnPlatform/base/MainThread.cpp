#include "MainThread.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <algorithm>
#include <boost/asio/execution.hpp>
#include <boost/asio/execution_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <functional>
#include <iterator>
#include <mutex>
#include <string>
#include <utility>

#include "Log.h"

namespace tarn {
namespace {

using Work = std::move_only_function<void()>;

// The context whose turn runs on this thread.
thread_local const void* turning = nullptr;

void run(Work work) {
    try {
        work();
    } catch (const std::exception& bug) {
        // Qt's event loop cannot be left by an exception.
        logLine(std::string("[main] ") + bug.what());
    }
}

}  // namespace

/// The queue, and the services of the executor. Lives as long as an executor does.
class MainThread::Context : public asio::execution_context {
public:
    ~Context() { close(); }
    Context() = default;
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    /// Thread: main, before anything is given.
    void open(QObject* waker) { waker_ = waker; }

    /// Destroys what is left; what is given from now on is destroyed at once. Thread: main.
    void close() {
        std::deque<Work> left;
        {
            const std::lock_guard lock(mutex_);
            waker_ = nullptr;
            left.swap(given_);
        }
        left.clear();
        ready_.clear();
        shutdown();
    }

    /// Thread: any.
    void give(Work&& work) {
        const std::lock_guard lock(mutex_);
        if (waker_ == nullptr) {
            return;  // `work` is the caller's to destroy, without the lock
        }
        given_.push_back(std::move(work));
        if (!std::exchange(isWoken_, true)) {
            // Under the lock, so that the receiver cannot be on its way out.
            QCoreApplication::postEvent(waker_, new QEvent(QEvent::User));
        }
    }

    /// Whether Qt brings a wake-up. Reads under the lock that the sender held: the order that Qt keeps
    /// between the two is out of the thread sanitizer's sight.
    bool isWakeUp(const QEvent& event) {
        const std::lock_guard lock(mutex_);
        return event.type() == QEvent::User;
    }

    /// Runs what is queued now. Thread: main.
    void turn() {
        {
            const std::lock_guard lock(mutex_);
            isWoken_ = false;
            std::ranges::move(given_, std::back_inserter(ready_));
            given_.clear();
        }
        const void* const outer = std::exchange(turning, this);
        // A nested turn takes from the same row.
        for (auto left = ready_.size(); left > 0 && !ready_.empty(); --left) {
            Work work = std::move(ready_.front());
            ready_.pop_front();
            run(std::move(work));
        }
        turning = outer;
    }

private:
    std::mutex mutex_;
    QObject* waker_ = nullptr;
    std::deque<Work> given_;
    bool isWoken_ = false;

    std::deque<Work> ready_;  // main thread
};

class MainThread::Executor {
public:
    Executor(std::shared_ptr<Context> context, bool mayRunAtOnce)
        : context_(std::move(context)), mayRunAtOnce_(mayRunAtOnce) {}

    asio::execution_context& query(asio::execution::context_t /*property*/) const noexcept {
        return *context_;
    }
    asio::execution::blocking_t query(asio::execution::blocking_t /*property*/) const noexcept {
        return mayRunAtOnce_ ? asio::execution::blocking_t(asio::execution::blocking.possibly)
                             : asio::execution::blocking_t(asio::execution::blocking.never);
    }
    Executor require(asio::execution::blocking_t::possibly_t /*property*/) const { return {context_, true}; }
    Executor require(asio::execution::blocking_t::never_t /*property*/) const { return {context_, false}; }

    template <typename F>
    void execute(F&& function) const {
        if (mayRunAtOnce_ && turning == context_.get()) {
            std::decay_t<F> own(std::forward<F>(function));
            own();
            return;
        }
        context_->give(Work(std::forward<F>(function)));
    }

    friend bool operator==(const Executor& a, const Executor& b) noexcept = default;

private:
    std::shared_ptr<Context> context_;
    bool mayRunAtOnce_;
};

/// What Qt wakes.
class MainThread::Waker final : public QObject {
public:
    explicit Waker(std::shared_ptr<Context> context) : context_(std::move(context)) {}

    bool event(QEvent* event) override {
        if (!context_->isWakeUp(*event)) {
            return QObject::event(event);
        }
        context_->turn();
        return true;
    }

private:
    const std::shared_ptr<Context> context_;
};

MainThread::MainThread() : context_(std::make_shared<Context>()), waker_(std::make_unique<Waker>(context_)) {
    context_->open(waker_.get());
    // Starts the thread that watches the timers, which must be over when the last executor goes.
    const asio::steady_timer first(executor());
}

MainThread::~MainThread() {
    context_->close();
}

SerialExecutor MainThread::executor() const {
    return Executor(context_, true);
}

}  // namespace tarn
