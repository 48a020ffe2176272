#include "ManualClock.h"

#include <boost/asio/post.hpp>
#include <map>

namespace tarn::test {

struct ManualClock::Entry {
    TimePoint due;
    SerialExecutor executor;
    std::function<void()> call;
    bool takenBack = false;
};

struct ManualClock::State {
    mutable std::mutex mutex;
    TimePoint now{};
    std::list<std::shared_ptr<Entry>> entries;
};

class ManualClock::Call final : public ScheduledCall {
public:
    Call(std::shared_ptr<State> state, std::shared_ptr<Entry> entry)
        : state_(std::move(state)), entry_(std::move(entry)) {}
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call() override {
        const std::lock_guard lock(state_->mutex);
        entry_->takenBack = true;
        state_->entries.remove(entry_);
    }

private:
    std::shared_ptr<State> state_;
    std::shared_ptr<Entry> entry_;
};

ManualClock::ManualClock() : state_(std::make_shared<State>()) {}

Clock::TimePoint ManualClock::now() const {
    const std::lock_guard lock(state_->mutex);
    return state_->now;
}

std::unique_ptr<ScheduledCall> ManualClock::callAfter(SerialExecutor executor, Duration delay,
                                                      std::function<void()> call) {
    const std::lock_guard lock(state_->mutex);
    auto entry =
        std::make_shared<Entry>(Entry{state_->now + delay, std::move(executor), std::move(call), false});
    state_->entries.push_back(entry);
    return std::make_unique<Call>(state_, std::move(entry));
}

void ManualClock::advance(Duration duration) {
    std::multimap<TimePoint, std::shared_ptr<Entry>> due;  // equal times stay in the order of their calls
    {
        const std::lock_guard lock(state_->mutex);
        state_->now += duration;
        for (auto it = state_->entries.begin(); it != state_->entries.end();) {
            if ((*it)->due <= state_->now) {
                due.emplace((*it)->due, *it);
                it = state_->entries.erase(it);
            } else {
                ++it;
            }
        }
    }
    for (const auto& dueCall : due) {
        const auto& entry = dueCall.second;
        asio::post(entry->executor, [state = state_, entry] {
            std::function<void()> call;
            {
                const std::lock_guard lock(state->mutex);
                call = entry->takenBack ? nullptr : entry->call;
            }
            if (call) {
                call();
            }
        });
    }
}

std::size_t ManualClock::pendingCalls() const {
    const std::lock_guard lock(state_->mutex);
    return state_->entries.size();
}

}  // namespace tarn::test
