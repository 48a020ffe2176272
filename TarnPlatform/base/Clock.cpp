#include "Clock.h"

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>

namespace tarn {
namespace {

class SystemCall final : public ScheduledCall {
public:
    SystemCall(const SerialExecutor& executor, Clock::Duration delay, std::function<void()> call)
        : state_(std::make_shared<State>(executor, std::move(call))) {
        state_->timer.expires_after(delay);
        state_->timer.async_wait([state = state_](boost::system::error_code error) {
            if (error || !state->call) {
                return;
            }
            std::exchange(state->call, nullptr)();
        });
    }
    SystemCall(const SystemCall&) = delete;
    SystemCall& operator=(const SystemCall&) = delete;
    ~SystemCall() override {
        // An expired wait may already be queued: the empty call tells it that it was taken back.
        state_->call = nullptr;
        state_->timer.cancel();
    }

private:
    struct State {
        State(const SerialExecutor& executor, std::function<void()> function)
            : timer(executor), call(std::move(function)) {}
        asio::steady_timer timer;
        std::function<void()> call;
    };
    std::shared_ptr<State> state_;
};

class SystemClock final : public Clock {
public:
    TimePoint now() const override { return std::chrono::steady_clock::now(); }
    std::unique_ptr<ScheduledCall> callAfter(SerialExecutor executor, Duration delay,
                                             std::function<void()> call) override {
        return std::make_unique<SystemCall>(executor, delay, std::move(call));
    }
};

}  // namespace

std::shared_ptr<Clock> Clock::system() {
    static const auto clock = std::make_shared<SystemClock>();
    return clock;
}

Task<void> sleepFor(std::shared_ptr<Clock> clock, Clock::Duration delay) {
    // The timer is only a wake-up bell here: the clock rings it.
    asio::steady_timer bell(co_await asio::this_coro::executor, asio::steady_timer::time_point::max());
    bool rung = false;
    const auto call = clock->callAfter(bell.get_executor(), delay, [&bell, &rung] {
        rung = true;
        bell.cancel();
    });
    while (!rung) {
        co_await bell.async_wait(asValue);
    }
}

}  // namespace tarn
