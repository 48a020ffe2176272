#include "UserDefaults.h"

#include <algorithm>
#include <boost/json/string.hpp>
#include <boost/json/value.hpp>
#include <cmath>
#include <limits>
#include <mutex>
#include <utility>

#include "SettingsStore.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/Text.h"
#include "TarnPlatform/base/UserFolders.h"

namespace tarn {
namespace {

namespace json = boost::json;

struct Standard {
    std::mutex mutex;
    std::shared_ptr<UserDefaults> defaults;
};

Standard& currentStandard() {
    static Standard standard;
    return standard;
}

}  // namespace

std::shared_ptr<UserDefaults> UserDefaults::standard() {
    auto& standard = currentStandard();
    const std::lock_guard lock(standard.mutex);
    if (!standard.defaults) {
        standard.defaults = open(UserFolders::config() / UserFolders::ownName / "settings.json");
    }
    return standard.defaults;
}

void UserDefaults::setStandard(std::shared_ptr<UserDefaults> defaults) {
    auto& standard = currentStandard();
    const std::lock_guard lock(standard.mutex);
    standard.defaults.swap(defaults);  // the old ones may have to be written, which takes time
}

// The path is made absolute, because the process may change its working directory before a later write.
std::shared_ptr<UserDefaults> UserDefaults::open(const std::filesystem::path& path,
                                                 std::chrono::milliseconds delay) {
    return std::shared_ptr<UserDefaults>(
        new UserDefaults(std::make_unique<SettingsStore>(std::filesystem::absolute(path), delay)));
}

std::shared_ptr<UserDefaults> UserDefaults::inMemory() {
    return std::shared_ptr<UserDefaults>(new UserDefaults(std::make_unique<SettingsStore>()));
}

UserDefaults::UserDefaults(std::unique_ptr<SettingsStore> store) : store_(std::move(store)) {}

UserDefaults::~UserDefaults() = default;

bool UserDefaults::contains(std::string_view key) const {
    return store_->valueOf(key, [](const json::value&) { return true; });
}

std::optional<std::string> UserDefaults::string(std::string_view key) const {
    return store_->valueOf(key, [](const json::value& value) -> std::optional<std::string> {
        return value.is_string() ? std::optional(std::string(value.get_string())) : std::nullopt;
    });
}

std::optional<std::int64_t> UserDefaults::integer(std::string_view key) const {
    return store_->valueOf(key, [](const json::value& value) -> std::optional<std::int64_t> {
        // Fails for fractions and for what does not fit.
        json::error_code error;
        const auto number = value.is_number() ? value.to_number<std::int64_t>(error) : 0;
        return value.is_number() && !error ? std::optional(number) : std::nullopt;
    });
}

std::optional<double> UserDefaults::number(std::string_view key) const {
    return store_->valueOf(key, [](const json::value& value) -> std::optional<double> {
        // The parser makes an infinity of what is beyond the range of a double; nobody asked for one.
        constexpr double greatest = std::numeric_limits<double>::max();
        return value.is_number() ? std::optional(std::clamp(value.to_number<double>(), -greatest, greatest))
                                 : std::nullopt;
    });
}

std::optional<bool> UserDefaults::boolean(std::string_view key) const {
    return store_->valueOf(key, [](const json::value& value) -> std::optional<bool> {
        return value.is_bool() ? std::optional(value.get_bool()) : std::nullopt;
    });
}

void UserDefaults::set(std::string_view key, std::string_view value) {
    if (!isUtf8(value)) {
        logLine("[settings] the new text of \"" + std::string(key) + "\" is not UTF-8 and is not stored");
        return;
    }
    store_->set(key, json::value(json::string(value)));
}

void UserDefaults::setBoolean(std::string_view key, bool value) {
    store_->set(key, json::value(value));
}

void UserDefaults::setInteger(std::string_view key, std::int64_t value) {
    store_->set(key, json::value(value));
}

void UserDefaults::setNumber(std::string_view key, double value) {
    if (!std::isfinite(value)) {
        logLine("[settings] the new value of \"" + std::string(key) + "\" is not finite and is not stored");
        return;
    }
    store_->set(key, json::value(value));
}

void UserDefaults::remove(std::string_view key) {
    store_->remove(key);
}

bool UserDefaults::synchronize() {
    return store_->synchronize();
}

}  // namespace tarn
