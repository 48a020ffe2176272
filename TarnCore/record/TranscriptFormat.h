#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tarn {

/// What a transcript is written as.
enum class TranscriptFormat : std::uint8_t { txt, markdown, srt, webvtt, csv, json, jsonl };

/// Which of the texts of an utterance it has.
enum class TranscriptTexts : std::uint8_t { original, translation, both };

struct TranscriptOptions {
    TranscriptFormat format = TranscriptFormat::txt;
    TranscriptTexts texts = TranscriptTexts::both;
    bool namesSources = false;   ///< each utterance is told with its source, since there may be several
    bool isOfRecording = false;  ///< times are those in the sound of the one source
    /// What stands in the place of so many seconds of sound that were never translated; none: nothing does.
    std::function<std::string(double seconds)> gapText{};

    bool hasOriginal() const { return texts != TranscriptTexts::translation; }
    bool hasTranslation() const { return texts != TranscriptTexts::original; }
};

/// The format that the ending of a file's name stands for, in capitals or not.
std::optional<TranscriptFormat> transcriptFormatOf(const std::filesystem::path& file);

/// The ending that files of this format have.
std::string_view transcriptEndingOf(TranscriptFormat format);

/// "srt, vtt, txt, md, csv, json, jsonl"
std::string transcriptEndings();

std::optional<TranscriptTexts> transcriptTextsNamed(std::string_view name);

}  // namespace tarn
