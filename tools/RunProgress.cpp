#include "RunProgress.h"

#include <variant>

namespace tarn::cli {

void RunProgress::note(const TarnTranslateEvent& event, TimePoint now) {
    lastEvent_ = now;
    if (const auto* const source = std::get_if<translate::SourceText>(&event)) {
        sourceOpen_ = !source->done;
        finalSources_ += source->done ? 1 : 0;
    } else if (const auto* const translation = std::get_if<translate::TranslatedText>(&event)) {
        translationOpen_ = !translation->done;
        finalTranslations_ += translation->done ? 1 : 0;
    } else if (std::holds_alternative<translate::Error>(event)) {
        // The relay has given up on something: what it was is not awaited any longer.
        translationOpen_ = false;
        finalTranslations_ = finalSources_;
    }
}

bool RunProgress::isSettled(TimePoint now, std::chrono::milliseconds quiet) const {
    return !sourceOpen_ && !translationOpen_ && finalTranslations_ >= finalSources_ && now - lastEvent_ >= quiet;
}

}  // namespace tarn::cli
