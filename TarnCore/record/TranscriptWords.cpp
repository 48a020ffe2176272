#include "TranscriptWords.h"

#include "TranscriptText.h"

namespace tarn {

TranscriptWords wordsOf(const Utterance& utterance, const TranscriptOptions& options) {
    return {options.hasOriginal() ? readableText(utterance.text) : "",
            options.hasTranslation() ? readableText(utterance.translation) : ""};
}

bool isTold(const Utterance& utterance, const TranscriptOptions& options) {
    if (utterance.kind == Utterance::Kind::untranslated) {
        return options.gapText != nullptr;
    }
    const auto words = wordsOf(utterance, options);
    return !words.original.empty() || !words.translation.empty();
}

}  // namespace tarn
