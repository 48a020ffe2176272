#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "TarnPlatform/base/Result.h"
#include "Utterance.h"

namespace tarn {

/// Who speaks in a run and what it is translated into, as its record says in its first line.
struct RecordSource {
    int number = 0;
    std::string name{};
    std::string sourceLang{};  ///< empty: detected
    std::string targetLang{};

    bool operator==(const RecordSource&) const = default;
};

/// The first line of a record.
struct RecordHeader {
    Utterance::TimePoint started{};
    std::vector<RecordSource> sources{};  ///< those at the start; later ones stand in their utterances

    bool operator==(const RecordHeader&) const = default;
};

// A record is a file of lines, each a JSON object: the header, then utterances in the order in which they
// were finished. Each line ends with a newline. Thread: any.

std::string lineOf(const RecordHeader& header);
std::string lineOf(const Utterance& utterance);

/// What `line` is not: `invalidInput`; where it is the header of a format that came after this one:
/// `protocol`.
Result<RecordHeader> headerIn(std::string_view line);
/// Nothing where it is no utterance.
std::optional<Utterance> utteranceIn(std::string_view line);

}  // namespace tarn
