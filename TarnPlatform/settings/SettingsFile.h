#pragma once

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// Values to set, and (nothing) keys to remove.
using SettingsChanges = std::map<std::string, std::optional<boost::json::value>, std::less<>>;

/// The settings of a user in one file, which several processes change at once. Never destroys what it cannot
/// read: a file that is damaged is kept beside under another name before a new one takes its place, a file
/// that cannot be opened, or is read-only, is left alone. Where the path is a symbolic link its target is
/// replaced. Thread: any; the calls wait for the disk, `merge` also for other processes, 2 s at most.
class SettingsFile {
public:
    enum class Condition : std::uint8_t {
        missing,
        good,
        damaged,     ///< empty, no JSON object, or longer than 1 MiB
        unreadable,  ///< no plain file, or the system refuses it
    };
    struct Reading {
        Condition condition = Condition::missing;
        boost::json::object values;  ///< empty unless good
        std::string description;     ///< what is wrong, one line
    };

    explicit SettingsFile(std::filesystem::path path);

    Reading read() const;

    /// Puts `changes` over what the file holds now, or over `known` where it is missing or damaged, and
    /// returns the outcome. After a failure the file is as it was. `keptAside` is called with the new name of
    /// a damaged file.
    Result<boost::json::object> merge(const SettingsChanges& changes, const boost::json::object& known,
                                      const std::function<void(const std::filesystem::path&)>& keptAside);

private:
    Result<std::filesystem::path> keepAside(const std::filesystem::path& file) const;

    const std::filesystem::path path_;
};

}  // namespace tarn
