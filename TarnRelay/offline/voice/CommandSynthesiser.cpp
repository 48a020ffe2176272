#include "CommandSynthesiser.h"

#include <boost/json/value.hpp>
#include <cstdint>
#include <cstring>
#include <optional>

#include "TarnPlatform/base/Text.h"
#include "TarnRelay/offline/CommandLine.h"

namespace tarn::relay {
namespace {

std::optional<std::int64_t> numberOf(const boost::json::object& object, std::string_view name) {
    const auto* const value = object.if_contains(name);
    if (value == nullptr || !value->is_int64()) {
        return std::nullopt;
    }
    return value->get_int64();
}

Result<Speech> readSpeech(ChildProcess& child, std::string_view question, ChildProcess::TimePoint deadline) {
    const auto head = askForObject(child, question, deadline);
    if (!head) {
        return std::unexpected(head.error());
    }
    const auto rate = numberOf(*head, "rate");
    const auto bytes = numberOf(*head, "bytes");
    if (!rate || *rate < lowestSpeechRate || *rate > highestSpeechRate) {
        return failure(ErrorKind::protocol, "wrote a line without a usable \"rate\"");
    }
    if (!bytes || *bytes < 0 || *bytes % 2 != 0) {
        return failure(ErrorKind::protocol, "wrote a line without a usable number of \"bytes\"");
    }
    // The announced size is checked before it is read, so that a wrong number does not take all memory.
    if (*bytes > *rate * 2 * longestSpeechSeconds) {
        return failure(ErrorKind::protocol, "announced more than a minute of sound for one text");
    }
    const auto sound = child.readExactly(static_cast<std::size_t>(*bytes), deadline);
    if (!sound) {
        return std::unexpected(sound.error());
    }
    Speech speech{.rate = static_cast<int>(*rate), .samples = std::vector<std::int16_t>(sound->size() / 2)};
    if (!speech.samples.empty()) {
        std::memcpy(speech.samples.data(), sound->data(), sound->size());
    }
    return speech;
}

}  // namespace

CommandSynthesiser::CommandSynthesiser(std::string command, AnswerLimits limits)
    : conversation_("the synthesiser command", userCommand(std::move(command)), limits) {}

Result<Speech> CommandSynthesiser::speak(const std::string& text, const std::string& voice,
                                         const std::string& language) {
    if (!isUtf8(text) || !isUtf8(voice) || !isUtf8(language)) {
        return failure(ErrorKind::invalidInput, "the text to speak is not UTF-8");
    }
    const auto question = commandLine({{"text", text}, {"voice", voice}, {"language", language}});
    Speech speech;
    const auto outcome = conversation_.ask([&](ChildProcess& child, auto deadline) -> Result<void> {
        auto answer = readSpeech(child, question, deadline);
        if (!answer) {
            return std::unexpected(answer.error());
        }
        speech = std::move(*answer);
        return {};
    });
    if (!outcome) {
        return std::unexpected(outcome.error());
    }
    return speech;
}

}  // namespace tarn::relay
