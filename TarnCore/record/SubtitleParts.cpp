// The subtitle formats: SubRip and WebVTT.
#include <algorithm>
#include <cctype>

#include "SubtitleCues.h"
#include "TranscriptParts.h"
#include "TranscriptText.h"

namespace tarn {
namespace {

/// SubRip has no escapes: players take "<i>", "{\an8}" and "\N" for commands and an arrow for the times of
/// a subtitle, so each is written with a character that looks alike.
std::string subRipLine(const std::string& line) {
    std::string safe;
    const auto arrowless = replaced(line, "-->", "→");
    for (std::size_t i = 0; i < arrowless.size(); ++i) {
        const char next = i + 1 < arrowless.size() ? arrowless[i + 1] : ' ';
        const bool isLetter = std::isalpha(static_cast<unsigned char>(next)) != 0;
        const char c = arrowless[i];
        if (c == '<' && (isLetter || next == '/' || next == '!')) {
            safe += "‹";
        } else if (c == '\\' && isLetter) {
            safe += "＼";
        } else if (c == '{' || c == '}') {
            safe += c == '{' ? "｛" : "｝";
        } else {
            safe += c;
        }
    }
    return safe;
}

std::string webVttLine(const std::string& line) {
    return replaced(replaced(replaced(line, "&", "&amp;"), "<", "&lt;"), ">", "&gt;");
}

class SubRipParts final : public TranscriptParts {
public:
    explicit SubRipParts(const TranscriptOptions& options) : cues_(options) {}

    std::string body(std::span<const TimedUtterance> utterances, Place& place,
                     std::chrono::milliseconds limit) const override {
        std::string bytes;
        for (const SubtitleCue& cue : cues_.of(utterances, place.end, limit)) {
            bytes += std::to_string(++place.items) + "\n" + positionText(cue.begin, ',') + " --> " +
                     positionText(cue.end, ',') + "\n";
            for (const std::string& line : cue.lines) {
                bytes += subRipLine(line) + "\n";
            }
            bytes += "\n";
            place.end = cue.end;
        }
        return bytes;
    }

private:
    const SubtitleCues cues_;
};

class WebVttParts final : public TranscriptParts {
public:
    explicit WebVttParts(const TranscriptOptions& options) : cues_(options) {}

    std::string head() const override { return "WEBVTT\n\n"; }

    std::string body(std::span<const TimedUtterance> utterances, Place& place,
                     std::chrono::milliseconds limit) const override {
        std::string bytes;
        for (const SubtitleCue& cue : cues_.of(utterances, place.end, limit)) {
            bytes += positionText(cue.begin, '.') + " --> " + positionText(cue.end, '.') + "\n";
            bytes += cue.name.empty() ? "" : "<v " + webVttLine(cue.name) + ">";
            for (const std::string& line : cue.lines) {
                bytes += webVttLine(line) + "\n";
            }
            bytes += "\n";
            place.end = cue.end;
        }
        return bytes;
    }

private:
    const SubtitleCues cues_;
};

}  // namespace

std::unique_ptr<TranscriptParts> subRipParts(const TranscriptOptions& options) {
    return std::make_unique<SubRipParts>(options);
}

std::unique_ptr<TranscriptParts> webVttParts(const TranscriptOptions& options) {
    return std::make_unique<WebVttParts>(options);
}

}  // namespace tarn
