#include "MicError.h"

#include "SoundErrorText.h"
#include "TarnPlatform/base/Text.h"

namespace tarn {
namespace {

struct Texts {
    TextLanguage language;

    std::string operator()(const MicError::InvalidInputFormat& format) const {
        return text(SoundErrorText::invalidInputFormat, language,
                    {decimalText(format.sampleRate), std::to_string(format.channels)});
    }
    std::string operator()(const MicError::EngineFailed& failed) const {
        return text(SoundErrorText::engineFailed, language, {failed.message});
    }
    std::string operator()(const MicError::PermissionDenied&) const {
        return text(SoundErrorText::permissionDenied, language);
    }
};

}  // namespace

std::string MicError::errorDescription(TextLanguage language) const {
    return std::visit(Texts{language}, reason);
}

}  // namespace tarn
