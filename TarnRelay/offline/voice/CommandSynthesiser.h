#pragma once

#include <string>

#include "Synthesiser.h"
#include "TarnPlatform/process/ChildConversation.h"
#include "TarnRelay/offline/CommandLine.h"

namespace tarn::relay {

/// A command line of the user's own as the voice: for each text it reads a line
/// {"text":…,"voice":…,"language":…} and writes a line {"rate":N,"bytes":N} and then that many bytes of
/// signed 16-bit little-endian mono sound. `voice` is empty for the language's default. It is started with
/// the first text and kept; it serves all clients, one text after another. A command that dies is started
/// again within the call; one that does not answer in time, or answers something else, is ended and costs the
/// call. Thread: any.
class CommandSynthesiser : public Synthesiser {
public:
    explicit CommandSynthesiser(std::string command, AnswerLimits limits = commandLimits);

    /// Every language is tried.
    bool speaks(const std::string&) const override { return true; }

    /// Fails with `invalidInput` for a text that is not UTF-8, with `timeout`, `closed` or `protocol` where
    /// the command failed (more than a minute of sound, a rate outside 8 to 192 kHz), and with `unavailable`
    /// while a command that always dies is left alone for a second.
    Result<Speech> speak(const std::string& text, const std::string& voice,
                         const std::string& language) override;
    void stop() override { conversation_.stop(); }

private:
    ChildConversation conversation_;
};

}  // namespace tarn::relay
