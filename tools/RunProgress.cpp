#include "RunProgress.h"

#include <variant>

namespace tarn::cli {
namespace {

/// The longest pause between two pieces of one translated voice.
constexpr std::chrono::milliseconds pauseInVoice{800};
/// The longest time that a slow service takes from a final translation to its voice.
constexpr std::chrono::milliseconds longestSilence{3000};

}  // namespace

void RunProgress::note(const TarnTranslateEvent& event, TimePoint now) {
    if (std::holds_alternative<translate::Progress>(event)) {
        return;
    }
    lastEvent_ = now;
    if (const auto* const source = std::get_if<translate::SourceText>(&event)) {
        sourceOpen_ = !source->done;
        finalSources_ += source->done ? 1 : 0;
    } else if (const auto* const translation = std::get_if<translate::TranslatedText>(&event)) {
        translationOpen_ = !translation->done;
        finalTranslations_ += translation->done ? 1 : 0;
        voiceDue_ = voiceDue_ || (translation->done && !translation->text.empty());
    } else if (std::holds_alternative<translate::TranslatedAudio>(event)) {
        voiceDue_ = false;
    } else if (std::holds_alternative<translate::Error>(event)) {
        // The relay has given up on an utterance, so nothing more is awaited of it.
        translationOpen_ = false;
        voiceDue_ = false;
        finalTranslations_ = finalSources_;
    }
}

bool RunProgress::isFinal() const {
    return !sourceOpen_ && !translationOpen_ && finalTranslations_ >= finalSources_;
}

bool RunProgress::isSettled(TimePoint now) const {
    return isFinal() && now - lastEvent_ >= (voiceDue_ ? longestSilence : pauseInVoice);
}

}  // namespace tarn::cli
