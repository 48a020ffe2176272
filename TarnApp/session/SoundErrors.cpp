#include "SoundErrors.h"

#include <variant>

#include "TarnApp/localization/AddedText.h"
#include "TarnApp/localization/LocKey.h"
#include "TarnCore/audio/SoundErrorText.h"
#include "TarnCore/audio/SystemAudioCapture.h"
#include "TarnPlatform/audioserver/AudioServerError.h"

namespace tarn {
namespace {

std::string advised(AddedText sentence, AddedText advice) {
    return text(AddedText::withAdvice, {text(sentence), text(advice)});
}

}  // namespace

std::string shownText(const Error& error, const std::string& application) {
    if (error.domain == audioServerDomain) {
        switch (AudioServerFault(error.code)) {
            case AudioServerFault::absent:
                return advised(AddedText::audioServerAbsent, AddedText::startAudioServer);
            case AudioServerFault::silent:
                return advised(AddedText::audioServerSilent, AddedText::restartAudioServer);
            case AudioServerFault::managerAbsent:
                return advised(AddedText::soundManagerAbsent, AddedText::startSoundManager);
        }
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

std::string shownText(const MicError& error) {
    return std::holds_alternative<MicError::PermissionDenied>(error.reason)
               ? text(LocKey::errMicDenied)
               : error.errorDescription(AppLanguage::shown());
}

}  // namespace tarn
