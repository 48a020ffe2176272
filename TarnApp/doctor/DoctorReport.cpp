#include "DoctorReport.h"

#include <algorithm>
#include <array>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <set>
#include <utility>

namespace tarn {
namespace {

/// Counts columns of a terminal, of which a Chinese character takes two.
std::size_t width(std::string_view text) {
    std::size_t columns = 0;
    for (const char byte : text) {
        const auto value = static_cast<unsigned char>(byte);
        const bool continues = (value & 0xC0U) == 0x80U;
        const bool isWide = value >= 0xE3U && value < 0xF0U;
        columns += continues ? 0 : (isWide ? 2 : 1);
    }
    return columns;
}

std::string padded(std::string text, std::size_t columns) {
    text.append(columns - std::min(columns, width(text)), ' ');
    return text;
}

DoctorText word(CheckStatus status) {
    switch (status) {
        case CheckStatus::ok:
            return DoctorText::statusOk;
        case CheckStatus::warning:
            return DoctorText::statusWarning;
        case CheckStatus::fault:
            break;
    }
    return DoctorText::statusFault;
}

std::string_view code(CheckStatus status) {
    switch (status) {
        case CheckStatus::ok:
            return "ok";
        case CheckStatus::warning:
            return "warning";
        case CheckStatus::fault:
            break;
    }
    return "fault";
}

/// Returns the name of a check as the report shows it.
DoctorText shownName(std::string_view checkName) {
    constexpr std::array<std::pair<std::string_view, DoctorText>, 17> names{{
        {CheckName::audioServer, DoctorText::nameAudioServer},
        {CheckName::sessionManager, DoctorText::nameSessionManager},
        {CheckName::defaultOutput, DoctorText::nameDefaultOutput},
        {CheckName::defaultInput, DoctorText::nameDefaultInput},
        {CheckName::capture, DoctorText::nameCapture},
        {CheckName::microphones, DoctorText::nameMicrophones},
        {CheckName::keyring, DoctorText::nameKeyring},
        {CheckName::server, DoctorText::nameServer},
        {CheckName::token, DoctorText::nameToken},
        {CheckName::certificates, DoctorText::nameCertificates},
        {CheckName::proxy, DoctorText::nameProxy},
        {CheckName::display, DoctorText::nameDisplay},
        {CheckName::portals, DoctorText::namePortals},
        {CheckName::links, DoctorText::nameLinks},
        {CheckName::fonts, DoctorText::nameFonts},
        {CheckName::settings, DoctorText::nameSettings},
        {CheckName::instance, DoctorText::nameInstance},
    }};
    for (const auto& [name, text] : names) {
        if (name == checkName) {
            return text;
        }
    }
    return DoctorText::checkFailed;
}

std::string namesWith(const std::vector<CheckResult>& results, const std::string& advice,
                      const Wording& say) {
    std::string names;
    for (const auto& result : results) {
        if (result.advice == advice && result.status != CheckStatus::ok) {
            names += (names.empty() ? "" : ", ") + say(shownName(result.name));
        }
    }
    return names;
}

}  // namespace

bool DoctorReport::isGood(const std::vector<CheckResult>& results) {
    return std::ranges::none_of(
        results, [](const CheckResult& result) { return result.status == CheckStatus::fault; });
}

std::string DoctorReport::asText(const std::vector<CheckResult>& results, const Wording& say) {
    std::size_t states = 0;
    std::size_t names = 0;
    for (const auto& result : results) {
        states = std::max(states, width(say(word(result.status))));
        names = std::max(names, width(say(shownName(result.name))));
    }
    std::string text;
    for (const auto& result : results) {
        text += padded(say(word(result.status)), states) + "  " + padded(say(shownName(result.name)), names) +
                "  " + result.detail + "\n";
    }
    std::string advice;
    std::set<std::string> said;
    // Faults come before warnings, and checks with the same advice share a line.
    for (const auto status : {CheckStatus::fault, CheckStatus::warning}) {
        for (const auto& result : results) {
            if (result.status == status && !result.advice.empty() && said.insert(result.advice).second) {
                advice += "  " + namesWith(results, result.advice, say) + ": " + result.advice + "\n";
            }
        }
    }
    return text + "\n" +
           (advice.empty() ? say(DoctorText::nothingToDo) + "\n" : say(DoctorText::whatToDo) + "\n" + advice);
}

std::string DoctorReport::asJson(const std::vector<CheckResult>& results) {
    boost::json::array checks;
    for (const auto& result : results) {
        checks.push_back(boost::json::object{{"name", result.name},
                                             {"status", code(result.status)},
                                             {"detail", result.detail},
                                             {"advice", result.advice}});
    }
    return boost::json::serialize(boost::json::object{{"checks", checks}, {"ok", isGood(results)}}) + "\n";
}

}  // namespace tarn
