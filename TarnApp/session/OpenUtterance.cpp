#include "OpenUtterance.h"

#include <variant>

namespace tarn {

void OpenUtterance::note(const TarnTranslateEvent& event) {
    if (const auto* const source = std::get_if<translate::SourceText>(&event)) {
        isSourceOpen_ = !source->done;
        finalSources_ += source->done ? 1 : 0;
        isSpeechOpen_ = isSpeechOpen_ && !source->done;
    } else if (const auto* const translation = std::get_if<translate::TranslatedText>(&event)) {
        isTranslationOpen_ = !translation->done;
        finalTranslations_ += translation->done ? 1 : 0;
        isSpeechOpen_ = isSpeechOpen_ && !translation->done;
    } else if (std::holds_alternative<translate::Error>(event)) {
        // The relay has given up on an utterance, so nothing more is awaited of it.
        isTranslationOpen_ = false;
        finalTranslations_ = finalSources_;
    } else if (const auto* const progress = std::get_if<translate::Progress>(&event)) {
        isSpeechOpen_ = isSpeechOpen_ || progress->kind == StreamProgress::Kind::speechStarted;
    }
}

}  // namespace tarn
