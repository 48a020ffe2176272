// JSON, as one array or one object a line.
#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>

#include "TarnPlatform/base/Text.h"
#include "TranscriptParts.h"
#include "TranscriptText.h"

namespace tarn {
namespace {

/// A JSON string of the whole text, whatever it holds. What a person who looks at the file would not see, or
/// would see in the wrong order, is written as an escape.
std::string jsonString(std::string_view text) {
    std::string safe = "\"";
    const auto valid = validText(text);
    for (std::size_t i = 0; i < valid.size(); ++i) {
        const auto byte = static_cast<unsigned char>(valid[i]);
        const auto next = [&](std::size_t ahead) {
            return i + ahead < valid.size() ? static_cast<unsigned char>(valid[i + ahead]) : 0U;
        };
        unsigned code = 0;
        std::size_t size = 1;
        if (byte < 0x20U || byte == 0x7FU) {
            code = byte;
        } else if (byte == 0xC2U && next(1) < 0xA0U) {
            code = next(1);
            size = 2;
        } else if (byte == 0xE2U && (next(1) == 0x80U || next(1) == 0x81U)) {
            // U+2028 to U+202E and U+2066 to U+2069: separators, and characters that turn text around.
            const unsigned character = 0x2000U + (next(1) - 0x80U) * 0x40U + (next(2) - 0x80U);
            const bool isHidden = (character >= 0x2028U && character <= 0x202EU) ||
                                  (character >= 0x2066U && character <= 0x2069U);
            code = isHidden ? character : 0;
            size = isHidden ? 3 : 1;
        }
        if (code != 0 || byte == 0) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u%04x", code);
            safe += escape.data();
            i += size - 1;
        } else {
            safe += byte == '"' || byte == '\\' ? "\\" : "";
            safe += valid[i];
        }
    }
    return safe + "\"";
}

std::string secondsText(std::chrono::milliseconds time) {
    return decimalText(static_cast<double>(time.count()) / 1000);
}

std::string object(const TimedUtterance& timed, const TranscriptOptions& options) {
    const Utterance& utterance = timed.utterance;
    std::string text =
        "{\"begin\":" + secondsText(timed.begin) + ",\"end\":" + secondsText(timed.end) + ",\"said_at\":\"" +
        momentText(utterance.saidAt) + "\",\"source\":" + std::to_string(utterance.source + 1) +
        ",\"name\":" + jsonString(utterance.sourceName) + ",\"from\":" + jsonString(utterance.sourceLang) +
        ",\"to\":" + jsonString(utterance.targetLang);
    if (utterance.kind == Utterance::Kind::untranslated) {
        return text + ",\"not_translated_s\":" +
               decimalText(std::isfinite(utterance.seconds) ? utterance.seconds : 0) + "}";
    }
    text += options.hasOriginal() ? ",\"original\":" + jsonString(utterance.text) : "";
    text += options.hasTranslation() ? ",\"translation\":" + jsonString(utterance.translation) : "";
    return text + "}";
}

class JsonParts final : public TranscriptParts {
public:
    explicit JsonParts(const TranscriptOptions& options) : options_(options) {}

    std::string head() const override { return "["; }
    std::string foot() const override { return "\n]\n"; }

    std::string body(std::span<const TimedUtterance> utterances, Place& place,
                     std::chrono::milliseconds /*limit*/) const override {
        std::string bytes;
        for (const TimedUtterance& timed : utterances) {
            bytes += (place.items++ > 0 ? ",\n" : "\n") + object(timed, options_);
        }
        return bytes;
    }

private:
    const TranscriptOptions options_;
};

class JsonLinesParts final : public TranscriptParts {
public:
    explicit JsonLinesParts(const TranscriptOptions& options) : options_(options) {}

    std::string body(std::span<const TimedUtterance> utterances, Place& /*place*/,
                     std::chrono::milliseconds /*limit*/) const override {
        std::string bytes;
        for (const TimedUtterance& timed : utterances) {
            bytes += object(timed, options_) + "\n";
        }
        return bytes;
    }

private:
    const TranscriptOptions options_;
};

}  // namespace

std::unique_ptr<TranscriptParts> jsonParts(const TranscriptOptions& options) {
    return std::make_unique<JsonParts>(options);
}

std::unique_ptr<TranscriptParts> jsonLinesParts(const TranscriptOptions& options) {
    return std::make_unique<JsonLinesParts>(options);
}

}  // namespace tarn
