#include "CommandRecogniser.h"

#include <bit>
#include <boost/json/value.hpp>

#include "TarnRelay/offline/CommandLine.h"

namespace tarn::relay {
namespace {

using std::chrono::steady_clock;

static_assert(std::endian::native == std::endian::little, "samples are sent as they are");

constexpr std::size_t mostWaiting = sizeof(std::int16_t) * 16000 * 30;  ///< bytes
constexpr std::size_t mostLines = 200;  ///< in one call; no speech changes more often between two calls

ChildCommand recogniserCommand(std::string line, const std::string& language, int silenceMs) {
    auto command = userCommand(std::move(line));
    command.environment = {{"TARN_LANGUAGE", language}, {"TARN_SILENCE_MS", std::to_string(silenceMs)}};
    return command;
}

Result<Hypothesis> hypothesisIn(std::string_view line) {
    const auto object = parseCommandLine(line);
    if (!object) {
        return std::unexpected(object.error());
    }
    auto text = textOf(*object);
    if (!text) {
        return std::unexpected(text.error());
    }
    const auto* const final = object->if_contains("final");
    if (final == nullptr || !final->is_bool()) {
        return failure(ErrorKind::protocol, "wrote a line without \"final\"");
    }
    return Hypothesis{.text = std::move(*text), .final = final->get_bool()};
}

}  // namespace

CommandRecogniser::CommandRecogniser(std::string command, const std::string& language, int silenceMs,
                                     AnswerLimits limits)
    : limits_(limits), child_(recogniserCommand(std::move(command), language, silenceMs)) {}

Result<void> CommandRecogniser::process(std::span<const std::int16_t> samples,
                                        std::vector<Hypothesis>& heard) {
    if (child_.pausing()) {
        return {};
    }
    if (waiting_.empty()) {
        lastTaken_ = steady_clock::now();
    }
    // A command is behind only where the earlier sound, too, was more than the limit: one large piece, given
    // at once, may be larger than that.
    const bool behind = waiting_.size() > mostWaiting;
    const auto bytes = std::as_bytes(samples);
    waiting_.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const auto child = child_.child();
    auto outcome = child ? feed(**child) : std::unexpected(child.error());
    if (outcome && behind && waiting_.size() > mostWaiting) {
        outcome = failure(ErrorKind::timeout, "does not keep up with the sound");
    }
    if (child) {
        // The output is read even after a failure: a command that has just ended may have left its last
        // words.
        const auto collected = collect(**child, heard);
        if (outcome) {
            outcome = collected;
        }
    }
    if (!outcome) {
        child_.failed(outcome.error().description);
        waiting_.clear();
        inSpeech_ = false;
        outcome.error().description = "the recogniser command " + outcome.error().description;
    }
    return outcome;
}

Result<void> CommandRecogniser::feed(ChildProcess& child) {
    const auto now = steady_clock::now();
    const auto taken = child.writeSome(waiting_, now);
    if (!taken) {
        return std::unexpected(taken.error());
    }
    waiting_.erase(0, *taken);
    if (*taken > 0) {
        lastTaken_ = now;
    }
    const auto limit = child_.fresh() ? limits_.first : limits_.later;
    if (!waiting_.empty() && now - lastTaken_ > limit) {
        return failure(ErrorKind::timeout, "does not read its input");
    }
    return {};
}

Result<void> CommandRecogniser::collect(ChildProcess& child, std::vector<Hypothesis>& heard) {
    for (std::size_t lines = 0; lines < mostLines; ++lines) {
        const auto line = child.readUntil('\n', longestCommandLine, steady_clock::now());
        if (!line) {
            if (line.error().kind == ErrorKind::timeout) {
                return {};  // no whole line is there yet
            }
            return std::unexpected(line.error());
        }
        auto hypothesis = hypothesisIn(*line);
        if (!hypothesis) {
            return std::unexpected(hypothesis.error());
        }
        child_.answered();
        inSpeech_ = !hypothesis->final && (inSpeech_ || !hypothesis->text.empty());
        heard.push_back(std::move(*hypothesis));
    }
    return failure(ErrorKind::protocol, "writes without end");
}

}  // namespace tarn::relay
