#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Recogniser.h"
#include "TarnPlatform/process/KeptChild.h"
#include "TarnRelay/offline/CommandLine.h"

namespace tarn::relay {

/// A command line of the user's own as the recogniser: it reads signed 16-bit little-endian 16 kHz mono sound
/// without an end, and writes a line {"text":…,"final":bool} whenever what it has heard changes. Each client
/// has a command of its own; the environment variable TARN_LANGUAGE holds the language to listen for and
/// TARN_SILENCE_MS the silence that ends an utterance.
///
/// Sound that the command does not take at once waits here, up to 30 seconds of it where a caller goes on in
/// spite of `full`. A command that has ended, that takes nothing for longer than the limit, that falls 30
/// seconds behind, or that writes something else, is ended and costs the utterance under way; the sound that
/// waited is dropped with it. A command that always dies is not started again for a second, in which sound is
/// dropped without a further failure.
class CommandRecogniser : public Recogniser {
public:
    /// `limits`: how long the command may go without taking sound, at first and later.
    CommandRecogniser(std::string command, const std::string& language, int silenceMs,
                      AnswerLimits limits = commandLimits);

    /// Waits only for the command to start and to end, never for it to read or to write.
    Result<void> process(std::span<const std::int16_t> samples, std::vector<Hypothesis>& heard) override;
    bool inSpeech() const override { return inSpeech_; }
    bool full() const override { return !waiting_.empty(); }
    bool answersLater() const override { return child_.running(); }

private:
    Result<void> feed(ChildProcess& child);
    Result<void> collect(ChildProcess& child, std::vector<Hypothesis>& heard);

    const AnswerLimits limits_;
    KeptChild child_;
    std::string waiting_;                ///< sound that the command has not taken yet
    ChildProcess::TimePoint lastTaken_;  ///< when the command last took sound or had none to take
    bool inSpeech_ = false;
};

/// Runs one command per client. Any language is tried.
class CommandRecogniserFactory : public RecogniserFactory {
public:
    explicit CommandRecogniserFactory(std::string command, AnswerLimits limits = commandLimits)
        : command_(std::move(command)), limits_(limits) {}

    /// The list is empty, since any language is tried.
    std::vector<std::string> languages() const override { return {}; }
    /// Never fails: the command is started with the first sound.
    Result<std::unique_ptr<Recogniser>> make(const std::string& language, int silenceMs) override {
        return std::make_unique<CommandRecogniser>(command_, language, silenceMs, limits_);
    }

private:
    const std::string command_;
    const AnswerLimits limits_;
};

}  // namespace tarn::relay
