#include "SoundErrors.h"

#include <optional>
#include <variant>

#include "TarnApp/localization/AddedText.h"
#include "TarnApp/localization/LocKey.h"
#include "TarnCore/audio/SoundErrorText.h"
#include "TarnCore/audio/SystemAudioCapture.h"
#include "TarnPlatform/audioserver/AudioServerError.h"

namespace tarn {
namespace {

struct Said {
    AddedText cause;
    AddedText advice;
};

std::optional<Said> saidOfServer(const Error& error) {
    if (error.domain != audioServerDomain) {
        return std::nullopt;
    }
    switch (AudioServerFault(error.code)) {
        case AudioServerFault::absent:
            return Said{AddedText::audioServerAbsent, AddedText::startAudioServer};
        case AudioServerFault::silent:
            return Said{AddedText::audioServerSilent, AddedText::restartAudioServer};
        case AudioServerFault::managerAbsent:
            return Said{AddedText::soundManagerAbsent, AddedText::startSoundManager};
    }
    return std::nullopt;
}

}  // namespace

std::string shownCause(const Error& error, const std::string& application) {
    if (const auto said = saidOfServer(error)) {
        return text(said->cause);
    }
    if (error.domain == captureErrorDomain) {
        switch (CaptureErrorCode(error.code)) {
            case CaptureErrorCode::noDisplay:
                return text(AddedText::noOutputToHear);
            case CaptureErrorCode::appNotFound:
                return text(SoundErrorText::appNotFound, {application});
        }
    }
    return error.description;
}

std::string shownText(const Error& error, const std::string& application) {
    const auto cause = shownCause(error, application);
    const auto said = saidOfServer(error);
    return said ? text(AddedText::withAdvice, {cause, text(said->advice)}) : cause;
}

std::string shownText(const MicError& error) {
    return std::holds_alternative<MicError::PermissionDenied>(error.reason)
               ? text(LocKey::errMicDenied)
               : error.errorDescription(AppLanguage::shown());
}

}  // namespace tarn
