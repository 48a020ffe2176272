#include "UtteranceEnds.h"

#include <utility>

namespace tarn {

bool UtteranceEnds::isAt(const TarnTranslateEvent& event) {
    using enum translate::Progress::Kind;
    if (const auto* const progress = std::get_if<translate::Progress>(&event)) {
        tellsVoice_ = tellsVoice_ || progress->kind == voiceDone;
        const bool isResponses = progress->kind == responseBegun || progress->kind == responseDone;
        tellsResponses_ = tellsResponses_ || isResponses;
        return progress->kind == voiceDone || (isResponses && !tellsVoice_);
    }
    const auto* const text = std::get_if<translate::TranslatedText>(&event);
    if (text == nullptr || tellsVoice_ || tellsResponses_) {
        return false;
    }
    // Some of its voice may come after a text is final, but none after the next text begins.
    return std::exchange(isTextFinal_, text->done);
}

}  // namespace tarn
