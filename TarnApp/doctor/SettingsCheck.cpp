#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>

#include "Checks.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnPlatform/settings/SettingsFile.h"

namespace tarn {
namespace {

using enum CheckStatus;

/// Returns the folder, or the nearest one above it that exists, in which it would be made.
std::filesystem::path existingFolder(std::filesystem::path folder) {
    std::error_code unreadable;
    while (!std::filesystem::exists(folder, unreadable) && folder.has_relative_path()) {
        folder = folder.parent_path();
    }
    return folder;
}

CheckResult settingsResult(const std::filesystem::path& file, const Wording& say) {
    CheckResult result{.name = CheckName::settings, .status = fault};
    const auto reading = SettingsFile(file).read();
    const bool exists = reading.condition != SettingsFile::Condition::missing;
    if (reading.condition == SettingsFile::Condition::unreadable) {
        result.detail = reading.description;
        result.advice = say(DoctorText::settingsNotWritableAdvice);
        return result;
    }
    const auto folder = existingFolder(file.parent_path());
    if (::access(folder.c_str(), W_OK | X_OK) != 0 || (exists && ::access(file.c_str(), W_OK) != 0)) {
        result.detail = say(DoctorText::settingsNotWritable, {file.string()});
        result.advice = say(DoctorText::settingsNotWritableAdvice);
        return result;
    }
    constexpr std::uintmax_t enough = std::uintmax_t{1024} * 1024;
    std::error_code unknown;
    const auto space = std::filesystem::space(folder, unknown);
    if (!unknown && space.available < enough) {
        result.detail = say(DoctorText::settingsNoSpace, {file.string()});
        result.advice = say(DoctorText::settingsNoSpaceAdvice);
        return result;
    }
    if (reading.condition == SettingsFile::Condition::damaged) {
        result.status = warning;
        result.detail = say(DoctorText::settingsDamaged, {reading.description});
        result.advice = say(DoctorText::settingsDamagedAdvice);
        return result;
    }
    result.status = ok;
    result.detail = say(exists ? DoctorText::asItIs : DoctorText::settingsNew, {file.string()});
    return result;
}

}  // namespace

void Checks::settings(const Wording& say, const Report& report) {
    // The settings are in the same folder as the configuration.
    const auto folder = Deployment::Sources::ofProcess().file.parent_path();
    report(settingsResult(folder / "settings.json", say));
}

}  // namespace tarn
