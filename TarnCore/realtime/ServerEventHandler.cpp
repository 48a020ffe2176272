#include "ServerEventHandler.h"

#include <algorithm>
#include <array>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <optional>

#include "EventNames.h"
#include "EventProtocol.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/Text.h"
#include "TarnPlatform/net/Base64.h"

namespace tarn {

namespace json = boost::json;

std::atomic<int> DebugBudget::debugDumpsRemaining{0};
std::atomic<int> DebugBudget::debugAllRemaining{0};

namespace {

constexpr std::array progressEvents = {
    events::sessionCreated,   events::sessionUpdated, events::speechStarted,   events::speechStopped,
    events::bufferCommitted,  events::itemCreated,    events::responseCreated, events::outputItemAdded,
    events::contentPartAdded, events::audioDone,      events::contentPartDone, events::outputItemDone,
    events::responseDone,
};

/// No one speaks this much without a pause: a stream of increments that goes on and on must not fill the
/// memory.
constexpr std::size_t longestUtterance = std::size_t{1024} * 1024;

// What a server sends stands in the log of the whole desktop.
constexpr std::size_t longestLine = 400;  // characters
constexpr int mostLines = 20;             // of one connection

/// The value under `key` when it is there and a string.
std::optional<std::string_view> stringField(const json::object& object, std::string_view key) {
    const auto* const value = object.if_contains(key);
    const auto* const text = value == nullptr ? nullptr : value->if_string();
    return text == nullptr ? std::nullopt : std::optional<std::string_view>(*text);
}

std::string stringOr(const json::object& object, std::string_view key, std::string_view other) {
    return std::string(stringField(object, key).value_or(other));
}

const json::object* objectField(const json::object& object, std::string_view key) {
    const auto* const value = object.if_contains(key);
    return value == nullptr ? nullptr : value->if_object();
}

/// What an event tells of the service's progress, if anything.
std::optional<StreamProgress> progressOf(std::string_view type, const json::object& event) {
    using enum StreamProgress::Kind;
    if (type == events::speechStarted || type == events::speechStopped) {
        const bool isStart = type == events::speechStarted;
        StreamProgress progress{isStart ? speechStarted : speechStopped, stringOr(event, "item_id", "")};
        const auto* const time = event.if_contains(isStart ? "audio_start_ms" : "audio_end_ms");
        if (time != nullptr) {
            boost::system::error_code notANumber;
            const auto milliseconds = time->to_number<std::int64_t>(notANumber);
            if (!notANumber) {
                progress.milliseconds = milliseconds;
            }
        }
        return progress;
    }
    if (type == events::audioDone) {
        return StreamProgress{voiceDone, stringOr(event, "response_id", "")};
    }
    if (type == events::responseCreated || type == events::responseDone) {
        const bool isBegin = type == events::responseCreated;
        const auto* const response = objectField(event, "response");
        StreamProgress progress{isBegin ? responseBegun : responseDone,
                                response == nullptr ? "" : stringOr(*response, "id", "")};
        progress.item = isBegin ? stringOr(event, "item_id", "") : "";
        return progress;
    }
    return std::nullopt;
}

/// Takes one from a budget that is not used up.
bool spend(std::atomic<int>& budget) {
    int left = budget.load(std::memory_order_relaxed);
    while (left >= 1) {
        if (budget.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

}  // namespace

ServerEventHandler::ServerEventHandler(AudioCallback onAudio, TranscriptCallback onTranscript,
                                       TarnEventCallback onTarnEvent)
    : onAudio_(std::move(onAudio)),
      onTranscript_(std::move(onTranscript)),
      onTarnEvent_(std::move(onTarnEvent)) {}

void ServerEventHandler::tell(std::string_view text) {
    if (linesTold_ < mostLines) {
        logLine("[qwen] " + std::string(firstCharacters(text, longestLine)));
    } else if (linesTold_ == mostLines) {
        logLine("[qwen] further messages are not shown");
    }
    linesTold_ = std::min(linesTold_ + 1, mostLines + 1);
}

ServerEventHandler::Verdict ServerEventHandler::handle(std::string_view text) {
    boost::system::error_code error;
    const auto value = json::parse(json::string_view(text.data(), text.size()), error);
    const auto* const event = error ? nullptr : value.if_object();
    if (event == nullptr) {
        return Verdict::goOn;
    }
    const auto type = stringField(*event, "type").value_or("");
    if (!type.ends_with(".delta") && spend(DebugBudget::debugAllRemaining)) {
        logLine("[qwen.all] " + std::string(firstCharacters(text, 400)));
    }

    if (type == events::audioDelta) {
        const auto delta = stringField(*event, "delta");
        auto bytes = delta ? base64Decode(*delta) : std::nullopt;
        if (bytes) {
            onAudio_(std::move(*bytes));
        }
    } else if (type == events::translationText || type == events::translationDelta) {
        auto hypothesis = stringOr(*event, "text", "") + stringOr(*event, "stash", "");
        if (hypothesis.empty()) {
            const auto delta = stringField(*event, "delta").value_or("");
            if (!delta.empty() && dstBuf_.size() + delta.size() <= longestUtterance) {
                hypothesis = dstBuf_ + std::string(delta);
            }
        }
        if (!hypothesis.empty()) {
            dstBuf_ = hypothesis;
            onTranscript_(TranscriptKind::translation, std::move(hypothesis), false);
        }
    } else if (type == events::translationDone) {
        onTranscript_(TranscriptKind::translation, stringOr(*event, "transcript", dstBuf_), true);
        dstBuf_.clear();
    } else if (type == events::sourceDelta || type == events::sourceText) {
        auto hypothesis = stringOr(*event, "text", "") + stringOr(*event, "stash", "");
        if (!hypothesis.empty()) {
            srcBuf_ = hypothesis;
            onTranscript_(TranscriptKind::source, std::move(hypothesis), false);
        } else if (spend(DebugBudget::debugDumpsRemaining)) {
            logLine("[qwen.dump] " + std::string(type) + ": " + std::string(text));
        }
    } else if (type == events::sourceCompleted || type == events::sourceDone) {
        if (onProgress) {
            onProgress({StreamProgress::Kind::sourceDone, stringOr(*event, "item_id", "")});
        }
        onTranscript_(TranscriptKind::source,
                      stringOr(*event, "transcript", stringField(*event, "text").value_or(srcBuf_)), true);
        srcBuf_.clear();
    } else if (std::ranges::find(progressEvents, type) != progressEvents.end()) {
        if (auto progress = onProgress ? progressOf(type, *event) : std::nullopt) {
            onProgress(std::move(*progress));
        }
    } else if (type == events::error) {
        complaint_ = printable(firstCharacters(complaintOf(*event), longestLine));
        logLine("[qwen] server error " + complaint_);
        return Verdict::stop;
    } else if (type == events::tarnError) {
        if (onTarnEvent_) {
            const auto message = stringField(*event, "error");
            onTarnEvent_(TarnServerEvent::error(message ? std::string(*message)
                                                        : stringOr(*event, "message", "tarn error")));
        }
    } else {
        const auto* const detail = objectField(*event, "error");
        tell(std::string(type) + (detail != nullptr ? ": " + json::serialize(*detail) : ""));
    }
    return Verdict::goOn;
}

}  // namespace tarn
