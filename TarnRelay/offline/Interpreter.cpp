#include "Interpreter.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/json/array.hpp>
#include <cstddef>
#include <span>
#include <utility>

#include "ItemId.h"
#include "TarnCore/audio/ServiceAudio.h"
#include "TarnCore/realtime/EventNames.h"
#include "TarnPlatform/net/Base64.h"
#include "TarnRelay/offline/voice/ServiceSpeech.h"

namespace tarn::relay {
namespace {

namespace json = boost::json;

constexpr std::size_t deltaBytes = static_cast<std::size_t>(qwenOutputSampleRate) / 10 * 2;  // 100 ms

std::string responseId(std::uint64_t utterance) {
    return "resp_" + std::to_string(utterance);
}
std::string outputItemId(std::uint64_t utterance) {
    return "item_out_" + std::to_string(utterance);
}

json::object outputItem(std::uint64_t utterance, std::string_view status) {
    return {{"id", outputItemId(utterance)}, {"type", "message"}, {"role", "assistant"}, {"status", status}};
}

bool isBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

}  // namespace

Interpreter::Interpreter(Job job, std::shared_ptr<StreamOutlet> outlet, const asio::any_io_executor& workers)
    : job_(std::move(job)), outlet_(std::move(outlet)), strand_(workers) {}

void Interpreter::warmUp() {
    asio::post(strand_, [self = shared_from_this()] {
        if (self->outlet_->isShut()) {
            return;
        }
        // Only a missing translator is reported now. Any other failure may be over when the first sentence
        // comes.
        const auto ready = self->translate("");
        if (!ready && ready.error().kind == ErrorKind::unavailable) {
            self->outlet_->sendError("nothing can be translated: " + ready.error().description);
        }
    });
}

// A partial text replaces the one that waits, because a text that is out of date is of no use to anybody. A
// final one takes that away as well: it holds the same words and more.
void Interpreter::hearPartial(std::uint64_t utterance, std::string text) {
    {
        const std::lock_guard lock(mutex_);
        partial_ = Sentence{.utterance = utterance, .text = std::move(text)};
    }
    asio::post(strand_, [self = shared_from_this()] { self->work(); });
}

void Interpreter::hearFinal(std::uint64_t utterance, std::string text) {
    bool tell = false;
    {
        const std::lock_guard lock(mutex_);
        partial_.reset();
        if (finals_.size() < longestQueue) {
            finals_.push_back({.utterance = utterance, .text = std::move(text)});
        } else {
            tell = !std::exchange(toldDropped_, true);
        }
    }
    if (tell) {
        outlet_->sendError("the translation is too far behind: sentences are being left out");
    }
    asio::post(strand_, [self = shared_from_this()] { self->work(); });
}

// There are as many posted calls as there were texts, and each takes at most one: those whose text was
// replaced find nothing and return. A call takes one text only, so that clients on the same workers take
// turns.
void Interpreter::work() {
    std::optional<Sentence> final;
    std::optional<Sentence> partial;
    {
        const std::lock_guard lock(mutex_);
        if (!finals_.empty()) {
            final = std::move(finals_.front());
            finals_.pop_front();
        } else {
            partial = std::exchange(partial_, std::nullopt);
        }
    }
    if (outlet_->isShut()) {
        return;
    }
    if (final) {
        interpretFinal(*final);
    } else if (partial) {
        interpretPartial(*partial);
    }
}

Result<std::string> Interpreter::translate(const std::string& text) {
    if (job_.source == job_.target) {
        return text;
    }
    auto translated = job_.translator->translate(text, job_.source, job_.target);
    failing_ = !translated;
    return translated;
}

void Interpreter::beginResponse(std::uint64_t utterance) {
    if (begun_ == utterance) {
        return;
    }
    begun_ = utterance;
    stable_.clear();
    lastPartial_.clear();
    const auto response = responseId(utterance);
    outlet_->send(events::responseCreated, {{"response", {{"id", response}, {"status", "in_progress"}}},
                                            {"item_id", itemId(utterance)}});
    outlet_->send(
        events::outputItemAdded,
        {{"response_id", response}, {"output_index", 0}, {"item", outputItem(utterance, "in_progress")}});
    outlet_->send(events::contentPartAdded, {{"response_id", response},
                                             {"item_id", outputItemId(utterance)},
                                             {"output_index", 0},
                                             {"content_index", 0},
                                             {"part", {{"type", "audio"}}}});
}

void Interpreter::interpretPartial(const Sentence& sentence) {
    if (failing_) {
        // A program that has died is started again only now and then; partial texts would use up those starts
        // before a whole sentence comes.
        return;
    }
    const auto translated = translate(sentence.text);
    // A failure is reported with the finished sentence, if it lasts that long.
    if (!translated || isBlank(*translated)) {
        return;
    }
    beginResponse(sentence.utterance);
    if (*translated == lastPartial_) {
        return;
    }
    lastPartial_ = *translated;
    auto split = stable_.update(*translated);
    outlet_->send(events::translationText, {{"response_id", responseId(sentence.utterance)},
                                            {"item_id", outputItemId(sentence.utterance)},
                                            {"text", std::move(split.text)},
                                            {"stash", std::move(split.stash)}});
}

void Interpreter::interpretFinal(const Sentence& sentence) {
    const auto translated = translate(sentence.text);
    beginResponse(sentence.utterance);
    const auto response = responseId(sentence.utterance);
    const auto item = outputItemId(sentence.utterance);
    if (translated) {
        outlet_->send(events::translationDone,
                      {{"response_id", response}, {"item_id", item}, {"transcript", *translated}});
        if (!isBlank(*translated)) {
            speak(*translated, response);
        }
    } else {
        outlet_->sendError("a sentence could not be translated: " + translated.error().description);
    }
    outlet_->send(events::contentPartDone,
                  {{"response_id", response}, {"item_id", item}, {"output_index", 0}, {"content_index", 0}});
    const std::string_view status = translated ? "completed" : "failed";
    outlet_->send(
        events::outputItemDone,
        {{"response_id", response}, {"output_index", 0}, {"item", outputItem(sentence.utterance, status)}});
    outlet_->send(events::responseDone, {{"response", {{"id", response}, {"status", status}}}});
}

void Interpreter::speak(const std::string& text, const std::string& response) {
    if (!job_.synthesiser->speaks(job_.target)) {
        if (!std::exchange(toldMute_, true)) {
            outlet_->sendError("no voice speaks " + job_.target + " here: the translation is shown only");
        }
        return;
    }
    if (outlet_->isShut()) {
        return;
    }
    auto speech = job_.synthesiser->speak(text, job_.voice, job_.target);
    if (speech && speech->samples.size() / longestSpeechSeconds > static_cast<std::size_t>(speech->rate)) {
        speech = failure(ErrorKind::invalidInput, "it takes longer than a minute");
    }
    const auto sound = speech ? toServiceSpeech(*speech) : std::unexpected(speech.error());
    if (!sound) {
        outlet_->sendError("a sentence could not be spoken: " + sound.error().description);
        return;
    }
    // The sound goes out in pieces as the service's does, so that a client can begin to play the first.
    for (std::span<const std::byte> rest(*sound); !rest.empty();) {
        const auto delta = rest.first(std::min(rest.size(), deltaBytes));
        rest = rest.subspan(delta.size());
        outlet_->send(events::audioDelta, {{"response_id", response}, {"delta", base64Encode(delta)}});
    }
    outlet_->send(events::audioDone, {{"response_id", response}});
}

}  // namespace tarn::relay
