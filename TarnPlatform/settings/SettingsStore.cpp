#include "SettingsStore.h"

#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

namespace json = boost::json;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds retryDelay{30};

}  // namespace

SettingsStore::SettingsStore(std::filesystem::path path, std::chrono::milliseconds delay)
    : file_(std::move(path)), delay_(delay) {
    auto reading = file_->read();
    values_ = std::move(reading.values);
    if (reading.condition == SettingsFile::Condition::damaged) {
        logLine("[settings] " + reading.description +
                "; the defaults are used, and it will be kept as \"….damaged\" when settings are stored");
    } else if (reading.condition == SettingsFile::Condition::unreadable) {
        sayNotStored(reading.description);
    }
}

SettingsStore::~SettingsStore() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    wake_.notify_one();
    if (writer_.joinable()) {
        writer_.join();
    }
    // The writer ends without its last write, which may be due only later.
    synchronize();
}

void SettingsStore::set(std::string_view key, json::value value) {
    const std::lock_guard lock(mutex_);
    values_[key] = value;
    change(key, std::move(value));
}

void SettingsStore::remove(std::string_view key) {
    const std::lock_guard lock(mutex_);
    values_.erase(key);
    change(key, std::nullopt);
}

bool SettingsStore::synchronize() {
    const std::lock_guard writing(writeMutex_);
    SettingsChanges changes;
    json::object known;
    {
        const std::lock_guard lock(mutex_);
        changes = std::exchange(pending_, {});
        due_.reset();
        if (changes.empty()) {
            return true;
        }
        known = values_;  // written whole where the file is missing or damaged
    }
    auto merged = file_->merge(changes, known, [](const std::filesystem::path& kept) {
        logLine("[settings] the damaged settings file is kept as " + kept.string());
    });
    const std::lock_guard lock(mutex_);
    if (!merged) {
        sayNotStored(merged.error().description);
        // Newer changes of the same keys win.
        pending_.merge(changes);
        if (!due_) {
            due_ = Clock::now() + retryDelay;
            wake_.notify_one();
        }
        return false;
    }
    isNotStoredSaid_ = false;
    // What other processes have changed is seen from now on; what this one has changed meanwhile stays.
    values_ = std::move(*merged);
    for (const auto& [key, value] : pending_) {
        if (value) {
            values_[key] = *value;
        } else {
            values_.erase(key);
        }
    }
    return true;
}

// Requires: `mutex_` is held.
void SettingsStore::change(std::string_view key, std::optional<json::value> value) {
    if (!file_) {
        return;
    }
    pending_.insert_or_assign(std::string(key), std::move(value));
    const auto soon = Clock::now() + delay_;
    // A later change joins the write that is due already. It does not put it off, so that a setting that
    // changes all the time still reaches the file.
    if (due_ && *due_ <= soon) {
        return;
    }
    due_ = soon;
    if (!writer_.joinable()) {
        writer_ = std::thread([this] { write(); });
    }
    wake_.notify_one();
}

void SettingsStore::write() {
    std::unique_lock lock(mutex_);
    while (!ending_) {
        if (!due_) {
            wake_.wait(lock);
        } else if (const auto due = *due_; Clock::now() < due) {
            wake_.wait_until(lock, due);
        } else {
            lock.unlock();
            synchronize();
            lock.lock();
        }
    }
}

// Said once, however often writing is tried, until a write succeeds.
void SettingsStore::sayNotStored(const std::string& why) {
    if (!std::exchange(isNotStoredSaid_, true)) {
        logLine("[settings] " + why + "; settings last until the program ends, unless that changes");
    }
}

}  // namespace tarn
