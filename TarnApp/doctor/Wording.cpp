#include "Wording.h"

#include <array>
#include <utility>

#include "CheckResult.h"
#include "TarnPlatform/text/FilledText.h"

namespace tarn {
namespace {

struct Pair {
    std::string_view english;
    std::string_view chinese;
};

#define TARN_DOCTOR_TEXT(key, english, chinese) Pair{english, chinese},
constexpr std::array texts{
#include "DoctorTextTable.h"
};
#undef TARN_DOCTOR_TEXT

}  // namespace

std::string Wording::operator()(DoctorText text, std::initializer_list<std::string_view> arguments) const {
    const auto& pair = texts.at(std::to_underlying(text));
    const auto pattern = language_ == Language::chinese ? pair.chinese : pair.english;
    return filledText(pattern, arguments);
}

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

}  // namespace tarn
