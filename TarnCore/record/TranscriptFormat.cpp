#include "TranscriptFormat.h"

#include <array>
#include <utility>

namespace tarn {
namespace {

constexpr auto endings = std::to_array<std::pair<std::string_view, TranscriptFormat>>({
    {"srt", TranscriptFormat::srt},
    {"vtt", TranscriptFormat::webvtt},
    {"txt", TranscriptFormat::txt},
    {"md", TranscriptFormat::markdown},
    {"csv", TranscriptFormat::csv},
    {"json", TranscriptFormat::json},
    {"jsonl", TranscriptFormat::jsonl},
});

constexpr auto textNames = std::to_array<std::pair<std::string_view, TranscriptTexts>>({
    {"original", TranscriptTexts::original},
    {"translation", TranscriptTexts::translation},
    {"both", TranscriptTexts::both},
});

template <typename Table>
auto lookUp(const Table& table, std::string_view name) -> std::optional<decltype(table.front().second)> {
    for (const auto& [known, value] : table) {
        if (known == name) {
            return value;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<TranscriptFormat> transcriptFormatOf(const std::filesystem::path& file) {
    std::string ending = file.extension().string();
    for (char& letter : ending) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return ending.empty() ? std::nullopt : lookUp(endings, std::string_view(ending).substr(1));
}

std::string_view transcriptEndingOf(TranscriptFormat format) {
    for (const auto& [ending, known] : endings) {
        if (known == format) {
            return ending;
        }
    }
    return {};
}

std::string transcriptEndings() {
    std::string list;
    for (const auto& [ending, format] : endings) {
        list += (list.empty() ? "" : ", ") + std::string(ending);
    }
    return list;
}

std::optional<TranscriptTexts> transcriptTextsNamed(std::string_view name) {
    return lookUp(textNames, name);
}

}  // namespace tarn
