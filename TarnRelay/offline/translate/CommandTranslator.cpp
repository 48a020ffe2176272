#include "CommandTranslator.h"

#include "TarnPlatform/base/Text.h"
#include "TarnRelay/offline/CommandLine.h"

namespace tarn::relay {

CommandTranslator::CommandTranslator(std::string command, AnswerLimits limits)
    : conversation_("the translator command", userCommand(std::move(command)), limits) {}

Result<std::string> CommandTranslator::translate(const std::string& text, const std::string& source,
                                                 const std::string& target) {
    if (!isUtf8(text) || !isUtf8(source) || !isUtf8(target)) {
        return failure(ErrorKind::invalidInput, "the text to translate is not UTF-8");
    }
    const auto question = commandLine({{"text", text}, {"source", source}, {"target", target}});
    std::string answer;
    const auto outcome = conversation_.ask([&](ChildProcess& child, auto deadline) -> Result<void> {
        const auto object = askForObject(child, question, deadline);
        if (!object) {
            return std::unexpected(object.error());
        }
        auto translation = textOf(*object);
        if (!translation) {
            return std::unexpected(translation.error());
        }
        answer = std::move(*translation);
        return {};
    });
    if (!outcome) {
        return std::unexpected(outcome.error());
    }
    return answer;
}

}  // namespace tarn::relay
