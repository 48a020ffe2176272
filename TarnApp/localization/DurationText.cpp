#include "DurationText.h"

#include <algorithm>
#include <cmath>

#include "AddedText.h"

namespace tarn {
namespace {

constexpr double longest = 1e9;
constexpr long minute = 60;
constexpr long hour = 60 * minute;

}  // namespace

std::string durationText(double seconds, AppLanguage::Value language) {
    const auto written = [language](long whole, AddedText alone, long part, AddedText both) {
        return part == 0 ? text(alone, language, {std::to_string(whole)})
                         : text(both, language, {std::to_string(whole), std::to_string(part)});
    };
    const long total = seconds > 1 ? std::lround(std::min(seconds, longest)) : 1;  // NaN is none
    if (total < minute) {
        return text(AddedText::seconds, language, {std::to_string(total)});
    }
    if (total < hour) {
        return written(total / minute, AddedText::minutes, total % minute, AddedText::minutesSeconds);
    }
    const long whole = (total + minute / 2) / minute;
    return written(whole / minute, AddedText::hours, whole % minute, AddedText::hoursMinutes);
}

std::string notTranslatedText(double seconds, AppLanguage::Value language) {
    return text(AddedText::notTranslated, language, {durationText(seconds, language)});
}

}  // namespace tarn
