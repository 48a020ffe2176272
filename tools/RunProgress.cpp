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
    utterance_.note(event);
    if (const auto* const translation = std::get_if<translate::TranslatedText>(&event)) {
        voiceDue_ = voiceDue_ || (translation->done && !translation->text.empty());
    } else if (std::holds_alternative<translate::TranslatedAudio>(event) ||
               std::holds_alternative<translate::Error>(event)) {
        voiceDue_ = false;
    }
}

bool RunProgress::isSettled(TimePoint now) const {
    return isFinal() && now - lastEvent_ >= (voiceDue_ ? longestSilence : pauseInVoice);
}

}  // namespace tarn::cli
