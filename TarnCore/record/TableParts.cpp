// Comma-separated values, by RFC 4180.
#include <algorithm>
#include <array>
#include <string_view>

#include "TranscriptParts.h"
#include "TranscriptText.h"
#include "TranscriptWords.h"

namespace tarn {
namespace {

/// A quoted field. A spreadsheet would compute what begins like a formula, in some languages also with the
/// wide forms of these characters, so that gets an apostrophe in front.
std::string field(const std::string& text) {
    constexpr std::array<std::string_view, 8> formulas{"=", "+", "-", "@", "＝", "＋", "－", "＠"};
    const bool isFormula =
        std::ranges::any_of(formulas, [&](std::string_view mark) { return text.starts_with(mark); });
    return ",\"" + std::string(isFormula ? "'" : "") + replaced(text, "\"", "\"\"") + "\"";
}

class TableParts final : public TranscriptParts {
public:
    explicit TableParts(const TranscriptOptions& options) : options_(options) {}

    std::string head() const override {
        return std::string("begin,end,said_at,source,from,to") + (options_.hasOriginal() ? ",original" : "") +
               (options_.hasTranslation() ? ",translation" : "") + ",note\r\n";
    }

    std::string body(std::span<const TimedUtterance> utterances, Place& /*place*/,
                     std::chrono::milliseconds /*limit*/) const override {
        std::string bytes;
        for (const TimedUtterance& timed : utterances) {
            const Utterance& utterance = timed.utterance;
            const bool isGap = utterance.kind == Utterance::Kind::untranslated;
            const auto words = wordsOf(utterance, options_);
            bytes += positionText(timed.begin, '.') + "," + positionText(timed.end, '.') + "," +
                     momentText(utterance.saidAt) + field(readableText(utterance.sourceName)) +
                     field(readableText(utterance.sourceLang)) + field(readableText(utterance.targetLang)) +
                     (options_.hasOriginal() ? field(words.original) : "") +
                     (options_.hasTranslation() ? field(words.translation) : "") +
                     field(isGap ? readableText(options_.gapText(utterance.seconds)) : "") + "\r\n";
        }
        return bytes;
    }

private:
    const TranscriptOptions options_;
};

}  // namespace

std::unique_ptr<TranscriptParts> tableParts(const TranscriptOptions& options) {
    return std::make_unique<TableParts>(options);
}

}  // namespace tarn
