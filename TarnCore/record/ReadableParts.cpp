// The formats for people to read: plain text and Markdown.
#include <cctype>

#include "TranscriptParts.h"
#include "TranscriptText.h"
#include "TranscriptWords.h"

namespace tarn {
namespace {

/// The words of an utterance, or what stands in their place.
TranscriptWords shownWords(const Utterance& utterance, const TranscriptOptions& options) {
    if (utterance.kind == Utterance::Kind::untranslated) {
        return {readableText(options.gapText(utterance.seconds)), ""};
    }
    return wordsOf(utterance, options);
}

std::string shownName(const Utterance& utterance, const TranscriptOptions& options) {
    return options.namesSources ? readableText(utterance.sourceName) : "";
}

/// A paragraph for each utterance: "[0:01:05] Firefox: " and the original, below it the translation.
class PlainTextParts final : public TranscriptParts {
public:
    explicit PlainTextParts(const TranscriptOptions& options) : options_(options) {}

    std::string body(std::span<const TimedUtterance> utterances, Place& place,
                     std::chrono::milliseconds /*limit*/) const override {
        std::string bytes;
        for (const TimedUtterance& timed : utterances) {
            const auto words = shownWords(timed.utterance, options_);
            const auto name = shownName(timed.utterance, options_);
            const bool hasBoth = !words.original.empty() && !words.translation.empty();
            const bool isApart = options_.texts == TranscriptTexts::both && place.items++ > 0;
            bytes += isApart ? "\n" : "";
            bytes += "[" + shortPositionText(timed.begin) + "] " + (name.empty() ? "" : name + ": ") +
                     words.original + (hasBoth ? "\n" : "") + words.translation + "\n";
        }
        return bytes;
    }

private:
    const TranscriptOptions options_;
};

/// `text` with a backslash before what Markdown would obey.
std::string markdownText(const std::string& text) {
    constexpr std::string_view marks = "\\`*_{}[]<>#|~&$!";
    std::string safe;
    for (const char c : text) {
        safe += marks.find(c) == std::string_view::npos ? "" : "\\";
        safe += c;
    }
    // At the start of a line also lists, rules and headings.
    std::size_t digits = 0;
    while (digits < safe.size() && std::isdigit(static_cast<unsigned char>(safe[digits])) != 0) {
        ++digits;
    }
    const std::string_view marksOfLines = digits == 0 ? "+-=:" : ".)";
    if (digits < safe.size() && marksOfLines.find(safe[digits]) != std::string_view::npos) {
        safe.insert(digits, "\\");
    }
    return safe;
}

/// A paragraph for each utterance: time and source in bold, the original; then the translation as a
/// quotation.
class MarkdownParts final : public TranscriptParts {
public:
    explicit MarkdownParts(const TranscriptOptions& options) : options_(options) {}

    std::string body(std::span<const TimedUtterance> utterances, Place& place,
                     std::chrono::milliseconds /*limit*/) const override {
        std::string bytes;
        for (const TimedUtterance& timed : utterances) {
            const auto words = shownWords(timed.utterance, options_);
            const auto name = shownName(timed.utterance, options_);
            const bool hasBoth = !words.original.empty() && !words.translation.empty();
            bytes += (place.items++ > 0 ? "\n**" : "**") + shortPositionText(timed.begin) +
                     (name.empty() ? "" : " " + markdownText(name)) + "** " +
                     markdownText(words.original.empty() ? words.translation : words.original) + "\n";
            bytes += hasBoth ? "\n> " + markdownText(words.translation) + "\n" : "";
        }
        return bytes;
    }

private:
    const TranscriptOptions options_;
};

}  // namespace

std::unique_ptr<TranscriptParts> plainTextParts(const TranscriptOptions& options) {
    return std::make_unique<PlainTextParts>(options);
}

std::unique_ptr<TranscriptParts> markdownParts(const TranscriptOptions& options) {
    return std::make_unique<MarkdownParts>(options);
}

}  // namespace tarn
