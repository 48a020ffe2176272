#pragma once

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "SettingsFile.h"

namespace tarn {

/// The settings in memory, and the thread that writes their changes to the file, as UserDefaults.h describes.
/// Thread: any, several at once.
class SettingsStore {
public:
    /// In memory alone.
    SettingsStore() : delay_(0) {}
    SettingsStore(std::filesystem::path path, std::chrono::milliseconds delay);
    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    /// What `read` makes of the value; where there is none, what its result is by default. `read` is called
    /// under the store's lock.
    template <typename Read>
    auto valueOf(std::string_view key, Read read) const
        -> decltype(read(std::declval<const boost::json::value&>())) {
        const std::lock_guard lock(mutex_);
        const auto* const value = values_.if_contains(key);
        if (value == nullptr || value->is_null()) {
            return {};
        }
        return read(*value);
    }

    void set(std::string_view key, boost::json::value value);
    void remove(std::string_view key);
    bool synchronize();

private:
    void change(std::string_view key, std::optional<boost::json::value> value);
    void write();
    void sayNotStored(const std::string& why);

    std::optional<SettingsFile> file_;  ///< nothing: in memory alone
    const std::chrono::milliseconds delay_;
    std::mutex writeMutex_;  ///< one write at a time; taken before the other
    mutable std::mutex mutex_;
    boost::json::object values_;
    SettingsChanges pending_;                                   ///< not in the file yet
    std::optional<std::chrono::steady_clock::time_point> due_;  ///< when to write
    bool isNotStoredSaid_ = false;
    bool ending_ = false;
    std::condition_variable wake_;
    std::thread writer_;  ///< from the first change on
};

}  // namespace tarn
