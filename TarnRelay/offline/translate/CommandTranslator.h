#pragma once

#include <string>
#include <utility>
#include <vector>

#include "TarnPlatform/process/ChildConversation.h"
#include "TarnRelay/offline/CommandLine.h"
#include "Translator.h"

namespace tarn::relay {

/// A command line of the user's own as the translator: for each text it reads a line
/// {"text":…,"source":…,"target":…} and writes a line {"text":…}.
/// It is started with the first text and kept; it serves all clients, one text after another. A command that
/// dies is started again within the call; one that does not answer in time, or answers something else, is
/// ended and costs the call. Thread: any.
class CommandTranslator : public Translator {
public:
    explicit CommandTranslator(std::string command, AnswerLimits limits = commandLimits);

    /// The list is empty, since any pair is tried.
    std::vector<std::pair<std::string, std::string>> pairs() const override { return {}; }

    /// Fails with `invalidInput` for a text that is not UTF-8, with `timeout`, `closed` or `protocol` where
    /// the command failed, and with `unavailable` while a command that always dies is left alone for a
    /// second.
    Result<std::string> translate(const std::string& text, const std::string& source,
                                  const std::string& target) override;
    void stop() override { conversation_.stop(); }

private:
    ChildConversation conversation_;
};

}  // namespace tarn::relay
