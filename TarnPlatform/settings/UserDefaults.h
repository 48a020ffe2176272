#pragma once

#include <chrono>
#include <concepts>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tarn {

class SettingsStore;

/// The user's settings: typed values under string keys, in one JSON file of mode 0600.
///
/// Reads answer from memory and see what this process set at once. What was set reaches the file soon, in the
/// background and all in one go, however quick the changes come: setters never wait for the disk. Each write
/// takes the file as it is by then and lays only this process's changes over it, so that processes that
/// change different keys do not lose one another's; from then on their values are seen here too.
///
/// No trouble with the file stops a program: it starts with the defaults where the file cannot be read, says
/// so in the log, once, and goes on in memory where it cannot be written, trying again later. A damaged file
/// is kept beside as "settings.json.damaged" (then "-2" and so on) when the first value is stored; a file
/// that cannot be opened is left untouched.
///
/// Thread: any, several at once.
class UserDefaults {
public:
    static constexpr std::chrono::milliseconds defaultDelay{250};

    /// The process's settings, "$XDG_CONFIG_HOME/tarn/settings.json" (by default "~/.config/tarn/…"), read
    /// on first use and written for the last time when the program ends by returning or by `exit`.
    static std::shared_ptr<UserDefaults> standard();
    /// Uses `defaults` as the standard from now on; none: the user's own, read on the next use.
    static void setStandard(std::shared_ptr<UserDefaults> defaults);

    /// `delay`: from a first change to its write, within which further ones join it.
    static std::shared_ptr<UserDefaults> open(const std::filesystem::path& path,
                                              std::chrono::milliseconds delay = defaultDelay);

    /// Settings that end with the object.
    static std::shared_ptr<UserDefaults> inMemory();

    /// Writes what is not written yet.
    ~UserDefaults();
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    /// Whether there is a value, of whatever type; null counts as none.
    bool contains(std::string_view key) const;

    // The value where there is one of that type.
    std::optional<std::string> string(std::string_view key) const;
    /// Also of a number written as a fraction that is whole: 2000.0. Neither a text nor a boolean is one.
    std::optional<std::int64_t> integer(std::string_view key) const;
    /// Any number. A fraction keeps 15 significant digits in the file.
    std::optional<double> number(std::string_view key) const;
    std::optional<bool> boolean(std::string_view key) const;

    // A text that is not UTF-8 and a number that is not finite cannot be stored: the old value stays, and the
    // log says so.
    void set(std::string_view key, std::string_view value);
    // Templates, because a text literal would convert to a boolean otherwise, and a boolean to a number.
    template <std::same_as<bool> Boolean>
    void set(std::string_view key, Boolean value) {
        setBoolean(key, value);
    }
    template <std::signed_integral Integer>
    void set(std::string_view key, Integer value) {
        setInteger(key, value);
    }
    template <std::floating_point Number>
    void set(std::string_view key, Number value) {
        setNumber(key, static_cast<double>(value));
    }
    void remove(std::string_view key);

    /// Writes now and waits for the disk; true when nothing is left to be written. For settings that a crash
    /// right after must not lose.
    bool synchronize();

private:
    explicit UserDefaults(std::unique_ptr<SettingsStore> store);
    void setBoolean(std::string_view key, bool value);
    void setInteger(std::string_view key, std::int64_t value);
    void setNumber(std::string_view key, double value);

    const std::unique_ptr<SettingsStore> store_;
};

}  // namespace tarn
