#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "TarnPlatform/base/Result.h"

namespace tarn::relay {

/// The text that a recogniser has heard so far.
struct Hypothesis {
    std::string text;    ///< the whole utterance so far, lower case, without punctuation; may be empty
    bool final = false;  ///< the utterance has ended and its text will not change
    bool operator==(const Hypothesis&) const = default;
};

/// Turns one speaker's sound into text, utterance by utterance. Not shared between clients.
/// Thread: one at a time; calls may take long and belong on a worker thread.
class Recogniser {
public:
    virtual ~Recogniser() = default;
    /// Takes the next samples (signed 16-bit, 16 kHz, mono) in any amount and appends to `heard` whatever
    /// changed: partial texts while someone speaks, a final one once `silenceMs` has passed after the last
    /// word. A failure costs the utterance under way; the recogniser starts again by itself with the next
    /// call.
    virtual Result<void> process(std::span<const std::int16_t> samples, std::vector<Hypothesis>& heard) = 0;
    /// True between the first sound of an utterance and its final text.
    virtual bool inSpeech() const = 0;
    /// True while sound that was taken earlier waits inside. The caller should give no more for now, but call
    /// `process` without samples again soon.
    virtual bool full() const { return false; }
    /// True where more may be heard in the sound that was taken. The caller should call `process` now and
    /// then, with or without samples.
    virtual bool answersLater() const { return false; }
};

/// Silence that may end an utterance, in milliseconds.
struct SilenceBounds {
    int shortest = 0;
    int longest = 10000;
};

/// Makes recognisers for the languages that a model is installed for. Thread: any.
class RecogniserFactory {
public:
    virtual ~RecogniserFactory() = default;
    /// Codes such as "en". An empty list means that any language may be tried (a command of the user's own
    /// does not tell what it can do).
    virtual std::vector<std::string> languages() const = 0;
    virtual SilenceBounds silenceBounds() const { return {}; }
    /// `silenceMs`: silence that ends an utterance, within the bounds. Fails with `unavailable` for a
    /// language without a model.
    virtual Result<std::unique_ptr<Recogniser>> make(const std::string& language, int silenceMs) = 0;
};

}  // namespace tarn::relay
