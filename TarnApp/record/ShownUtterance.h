#pragma once

#include <QString>
#include <string_view>

#include "TarnCore/record/Utterance.h"

namespace tarn {

// Utterances as people read them. A text may hold anything that a service or the name of a program sends.
// Thread: any.

/// The text as one line: a space in the place of each run of white space, line ends and control characters.
/// Characters that turn the direction of text around are left out, since their effect would reach past the
/// text.
QString shownText(std::string_view text);

/// When it was said, by the user's clock: "14:03:12".
QString shownClock(const Utterance& utterance);

/// What stands in the place of sound that was not translated; empty where it was.
QString shownGap(const Utterance& utterance);

/// The utterance as plain text: time and source in one line, below it each text in one of its own.
QString copiedText(const Utterance& utterance);

}  // namespace tarn
