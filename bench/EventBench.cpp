// What one event costs: the service's events through ServerEventHandler against the same work done with other
// JSON libraries, base64 both ways against another library, and the writing of an audio event.
#include <benchmark/benchmark.h>
#include <modp_b64.h>
#include <simdjson.h>

#include <boost/json.hpp>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "SampleEvents.h"
#include "TarnCore/realtime/EventNames.h"
#include "TarnCore/realtime/EventProtocol.h"
#include "TarnCore/realtime/ServerEventHandler.h"
#include "TarnPlatform/logging/Log.h"
#include "TarnPlatform/net/Base64.h"

namespace {

using tarn::bench::audioDeltaEvent;
using tarn::bench::partialTextEvent;
using tarn::bench::sampleBytes;
using tarn::bench::unknownEvent;

constexpr std::size_t chunkBytes = 1600;
constexpr std::size_t deltaBytes = 4800;
constexpr std::size_t partialTextBytes = 68;  // what the event says, both parts

/// One parsed event of a peer: a string field by name, or nothing.
class NlohmannEvent {
public:
    explicit NlohmannEvent(std::string_view text) : value_(nlohmann::json::parse(text, nullptr, false)) {}
    std::optional<std::string_view> field(const char* name) const {
        const auto found = value_.is_object() ? value_.find(name) : value_.end();
        return found == value_.end() || !found->is_string()
                   ? std::nullopt
                   : std::optional<std::string_view>(found->get_ref<const std::string&>());
    }

private:
    nlohmann::json value_;
};

class SimdEvent {
public:
    explicit SimdEvent(std::string_view text) : value_(parser().parse(text.data(), text.size())) {}
    std::optional<std::string_view> field(const char* name) const {
        const auto found = value_.at_key(name).get_string();
        return found.error() == simdjson::SUCCESS ? std::optional(found.value_unsafe()) : std::nullopt;
    }

private:
    static simdjson::dom::parser& parser() {
        static simdjson::dom::parser kept;
        return kept;
    }
    simdjson::simdjson_result<simdjson::dom::element> value_;
};

/// What ServerEventHandler does with the events measured here, on another JSON library.
template <typename Event>
class PeerHandler {
public:
    PeerHandler(tarn::AudioCallback onAudio, tarn::TranscriptCallback onTranscript)
        : onAudio_(std::move(onAudio)), onTranscript_(std::move(onTranscript)) {}

    void handle(std::string_view text) {
        const Event event(text);
        const auto type = event.field("type").value_or("");
        if (type == tarn::events::audioDelta) {
            auto bytes = tarn::base64Decode(event.field("delta").value_or(""));
            if (bytes) {
                onAudio_(std::move(*bytes));
            }
        } else if (type == tarn::events::sourceText) {
            std::string hypothesis(event.field("text").value_or(""));
            hypothesis += event.field("stash").value_or("");
            transcript_ = hypothesis;
            onTranscript_(tarn::TranscriptKind::source, std::move(hypothesis), false);
        } else {
            tarn::logLine("[qwen] " + std::string(type));
        }
    }

private:
    tarn::AudioCallback onAudio_;
    tarn::TranscriptCallback onTranscript_;
    std::string transcript_;
};

template <typename Handler>
void handleEvent(benchmark::State& state, const Handler& fresh, const std::string& event) {
    Handler handler = fresh;
    for (auto _ : state) {
        handler.handle(event);
    }
}

/// `expected`: bytes that the callbacks are given for one event.
void handleBy(const std::string& library, const std::string& name, const std::string& event,
              std::size_t expected) {
    static std::size_t received = 0;
    const tarn::AudioCallback onAudio = [](const std::vector<std::byte>& pcm) { received += pcm.size(); };
    const tarn::TranscriptCallback onTranscript = [](tarn::TranscriptKind, const std::string& text, bool) {
        received += text.size();
    };
    const auto add = [&](const auto& handler) {
        // A handler that passes the event over would be quick and mean nothing.
        auto trial = handler;
        received = 0;
        trial.handle(event);
        if (received != expected) {
            throw std::runtime_error(library + " does not understand " + name);
        }
        benchmark::RegisterBenchmark(
            ("handle/" + name + "/" + library).c_str(),
            [handler, event](benchmark::State& state) { handleEvent(state, handler, event); });
    };
    if (library == "ours") {
        add(tarn::ServerEventHandler(onAudio, onTranscript, nullptr));
    } else if (library == "nlohmann") {
        add(PeerHandler<NlohmannEvent>(onAudio, onTranscript));
    } else {
        add(PeerHandler<SimdEvent>(onAudio, onTranscript));
    }
}

std::string modpEncode(std::span<const std::byte> bytes) {
    std::string text(modp_b64_encode_len(bytes.size()), '\0');
    text.resize(modp_b64_encode(text.data(), reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    return text;
}

void encodeOurs(benchmark::State& state) {
    const auto bytes = sampleBytes(chunkBytes);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tarn::base64Encode(bytes));
    }
}

void encodeModp(benchmark::State& state) {
    const auto bytes = sampleBytes(chunkBytes);
    for (auto _ : state) {
        benchmark::DoNotOptimize(modpEncode(bytes));
    }
}

void decodeOurs(benchmark::State& state) {
    const auto text = tarn::base64Encode(sampleBytes(deltaBytes));
    for (auto _ : state) {
        benchmark::DoNotOptimize(tarn::base64Decode(text));
    }
}

void decodeModp(benchmark::State& state) {
    const auto text = tarn::base64Encode(sampleBytes(deltaBytes));
    for (auto _ : state) {
        std::vector<std::byte> bytes(modp_b64_decode_len(text.size()));
        bytes.resize(modp_b64_decode(reinterpret_cast<char*>(bytes.data()), text.data(), text.size()));
        benchmark::DoNotOptimize(bytes);
    }
}

std::string appendByNlohmann(const std::string& id, std::span<const std::byte> pcm) {
    return nlohmann::json{
        {"event_id", id}, {"type", tarn::events::audioAppend}, {"audio", tarn::base64Encode(pcm)}}
        .dump();
}

std::string appendByBoost(const std::string& id, std::span<const std::byte> pcm) {
    return boost::json::serialize(boost::json::object{
        {"event_id", id}, {"type", tarn::events::audioAppend}, {"audio", tarn::base64Encode(pcm)}});
}

template <typename Build>
void appendEvent(benchmark::State& state, Build build) {
    const auto bytes = sampleBytes(chunkBytes);
    for (auto _ : state) {
        benchmark::DoNotOptimize(build("evt_a_123456", bytes));
    }
}

}  // namespace

int main(int argc, char** argv) {
    tarn::setLogSink([](std::string_view line) { benchmark::DoNotOptimize(line.data()); });
    for (const std::string library : {"ours", "nlohmann", "simdjson"}) {
        handleBy(library, "partial_text", partialTextEvent(), partialTextBytes);
        handleBy(library, "audio_100ms", audioDeltaEvent(deltaBytes), deltaBytes);
        handleBy(library, "unknown", unknownEvent(), 0);
    }
    benchmark::RegisterBenchmark("base64_encode_1600/ours", encodeOurs);
    benchmark::RegisterBenchmark("base64_encode_1600/modp", encodeModp);
    benchmark::RegisterBenchmark("base64_decode_6400/ours", decodeOurs);
    benchmark::RegisterBenchmark("base64_decode_6400/modp", decodeModp);
    benchmark::RegisterBenchmark("append_event/ours", appendEvent<decltype(&tarn::audioAppendEvent)>,
                                 tarn::audioAppendEvent);
    benchmark::RegisterBenchmark("append_event/boost_json", appendEvent<decltype(&appendByBoost)>,
                                 appendByBoost);
    benchmark::RegisterBenchmark("append_event/nlohmann", appendEvent<decltype(&appendByNlohmann)>,
                                 appendByNlohmann);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
}
