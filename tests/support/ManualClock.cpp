#include "ManualClock.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <map>
#include <utility>

namespace tarn::test {

struct ManualClock::Entry {
    const TimePoint due;
    const SerialExecutor executor;
    const std::function<void()> call;
};

/// Holds an entry for its owner: an entry that nobody holds any more is taken back.
class ManualClock::Call final : public ScheduledCall {
public:
    explicit Call(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) {}

private:
    const std::shared_ptr<Entry> entry_;
};

Clock::TimePoint ManualClock::now() const {
    const std::lock_guard lock(mutex_);
    return now_;
}

std::unique_ptr<ScheduledCall> ManualClock::callAfter(SerialExecutor executor, Duration delay,
                                                      std::function<void()> call) {
    const std::lock_guard lock(mutex_);
    auto entry = std::make_shared<Entry>(Entry{now_ + delay, std::move(executor), std::move(call)});
    entries_.push_back(entry);
    return std::make_unique<Call>(std::move(entry));
}

void ManualClock::advance(Duration duration) {
    std::multimap<TimePoint, std::weak_ptr<Entry>> due;  // equal times stay in the order of their calls
    {
        const std::lock_guard lock(mutex_);
        now_ += duration;
        std::erase_if(entries_, [&](const std::weak_ptr<Entry>& waiting) {
            const auto entry = waiting.lock();
            if (entry && entry->due <= now_) {
                due.emplace(entry->due, waiting);
            }
            return !entry || entry->due <= now_;
        });
    }
    for (const auto& dueCall : due) {
        if (const auto entry = dueCall.second.lock()) {
            asio::post(entry->executor, [waiting = dueCall.second] {
                if (const auto held = waiting.lock()) {
                    held->call();
                }
            });
        }
    }
}

std::size_t ManualClock::pendingCalls() const {
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(
        std::ranges::count_if(entries_, [](const auto& entry) { return !entry.expired(); }));
}

}  // namespace tarn::test
