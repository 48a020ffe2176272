#include "OfflineEngine.h"

#include <algorithm>
#include <boost/asio/thread_pool.hpp>
#include <cctype>
#include <iterator>
#include <optional>
#include <set>
#include <string_view>
#include <thread>

#include "ClientMessage.h"
#include "EngineUpkeep.h"
#include "Interpreter.h"
#include "OfflineStream.h"
#include "StreamOutlet.h"
#include "TarnPlatform/net/Http.h"
#include "TarnPlatform/process/OwnProcess.h"
#include "TarnRelay/offline/speech/ReadyRecognisers.h"

namespace tarn::relay {
namespace {

constexpr std::string_view defaultSource = "en";

int cores() {
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

OfflineEngine::Limits completed(OfflineEngine::Limits limits) {
    if (limits.maxStreams <= 0) {
        // Recognising speech without a pause takes up to a quarter of a core. Half of each core is left for
        // the translators, the voices and other programs.
        limits.maxStreams = 2 * cores();
    }
    return limits;
}

/// The names that a language is looked up by, best first: "pt-BR" is also found as "pt-br" and as "pt".
std::vector<std::string> namesOf(const std::string& code) {
    std::string lower;
    std::ranges::transform(code, std::back_inserter(lower),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return {code, lower, lower.substr(0, lower.find_first_of("-_"))};
}

std::optional<std::string> firstIn(const std::vector<std::string>& names,
                                   const std::vector<std::string>& known) {
    for (const auto& name : names) {
        if (std::ranges::find(known, name) != known.end()) {
            return name;
        }
    }
    return std::nullopt;
}

std::string joined(const std::vector<std::string>& codes) {
    std::string text;
    for (const auto& code : codes) {
        text += (text.empty() ? "" : ", ") + code;
    }
    return text;
}

std::unexpected<Refusal> refusal(std::string message, std::uint16_t closeCode) {
    return std::unexpected(Refusal{.message = std::move(message), .closeCode = closeCode});
}

/// A text of a client, made fit to be shown and logged.
std::string quoted(const std::string& code) {
    std::string text = code.substr(0, 32);
    std::ranges::replace_if(text, [](unsigned char c) { return std::isprint(c) == 0 || c > 126; }, '?');
    return "\"" + text + "\"";
}

}  // namespace

/// The threads that recognise, and those that wait for translators and voices. The pools are apart because
/// the first need cores and the others only wait: a slow translator must not keep a core from recognising.
struct OfflineEngine::Workers {
    Workers(int streams, const Parts& parts, std::shared_ptr<Clock> clock)
        : translator(parts.translator),
          synthesiser(parts.synthesiser),
          recognising(static_cast<std::size_t>(std::max(2, cores()))),
          interpreting(static_cast<std::size_t>(streams)),
          upkeep(std::make_shared<EngineUpkeep>(std::move(clock), interpreting.get_executor(), translator,
                                                giveFreeMemoryBack)) {}
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;
    ~Workers() {
        // With every stream gone, queued work does nothing, and nobody wants the answers that are waited for.
        // The recognisers are joined first, because they are the ones that queue work for the others.
        translator->stop();
        synthesiser->stop();
        upkeep->stop();
        recognising.join();
        interpreting.join();
    }

    /// The parts with a recogniser loaded for the usual client.
    Parts readyFor(Parts parts) {
        const auto gone = [upkeep = std::weak_ptr(upkeep)] {
            if (const auto alive = upkeep.lock()) {
                alive->recogniserGone();
            }
        };
        auto ready = std::make_shared<ReadyRecognisers>(std::move(parts.recognisers),
                                                        recognising.get_executor(), gone);
        if (const auto languages = ready->languages(); !languages.empty()) {
            ready->prepare(languages.front(), defaultSilenceMs);
        }
        parts.recognisers = std::move(ready);
        return parts;
    }

    const std::shared_ptr<Translator> translator;
    const std::shared_ptr<Synthesiser> synthesiser;
    asio::thread_pool recognising;
    asio::thread_pool interpreting;
    const std::shared_ptr<EngineUpkeep> upkeep;
};

OfflineEngine::OfflineEngine(Parts parts, Limits limits, std::shared_ptr<Clock> clock)
    : limits_(completed(limits)),
      workers_(std::make_shared<Workers>(limits_.maxStreams, parts, std::move(clock))),
      parts_(workers_->readyFor(std::move(parts))),
      sources_(parts_.recognisers->languages()),
      pairs_(parts_.translator->pairs()) {}

std::expected<std::string, Refusal> OfflineEngine::sourceOf(const std::string& asked) const {
    if (sources_.empty()) {
        // The recogniser lists no languages, so it is asked for this one. Making it reads no model yet.
        std::vector<std::string> translated;
        std::ranges::transform(pairs_, std::back_inserter(translated),
                               [](const auto& pair) { return pair.first; });
        const auto wished = asked.empty() ? std::string(defaultSource) : asked;
        const auto source = firstIn(namesOf(wished), translated).value_or(wished);
        const auto tried = parts_.recognisers->make(source, defaultSilenceMs);
        return tried ? std::expected<std::string, Refusal>(source)
                     : refusal("cannot recognise " + quoted(source) + ": " + tried.error().description,
                               closeUnsupported);
    }
    if (asked.empty()) {
        return sources_.front();
    }
    if (auto source = firstIn(namesOf(asked), sources_)) {
        return *source;
    }
    return refusal("cannot recognise " + quoted(asked) + "; possible: " + joined(sources_), closeUnsupported);
}

std::expected<std::string, Refusal> OfflineEngine::targetOf(const std::string& asked,
                                                            const std::string& source) const {
    if (pairs_.empty()) {
        // The translator lists no pairs, so any is tried; a failure shows with the first text.
        return asked.empty() ? refusal("no language to translate to was given", closeUnsupported)
                             : std::expected<std::string, Refusal>(asked);
    }
    std::vector<std::string> targets{source};
    for (const auto& [from, to] : pairs_) {
        if (from == source) {
            targets.push_back(to);
        }
    }
    if (auto target = firstIn(namesOf(asked), targets)) {
        return *target;
    }
    std::ranges::sort(targets);
    targets.erase(std::ranges::unique(targets).begin(), targets.end());
    return refusal(
        "cannot translate " + source + " to " + quoted(asked) + "; from " + source + ": " + joined(targets),
        closeUnsupported);
}

ServedLanguages OfflineEngine::languages() const {
    ServedLanguages served;
    served.hears = sources_;
    std::set<std::string> spoken(sources_.begin(), sources_.end());
    for (const auto& [source, target] : pairs_) {
        if (sources_.empty() || std::ranges::find(sources_, source) != sources_.end()) {
            served.translates[source].push_back(target);
            spoken.insert(target);
        }
    }
    if (pairs_.empty()) {
        return served;  // the languages that could be spoken are not known either
    }
    for (const auto& language : spoken) {
        auto names = parts_.synthesiser->voices(language);
        if (!names) {
            return served;
        }
        if (!served.voices) {
            served.voices.emplace();
        }
        if (!names->empty()) {
            served.voices->emplace(language, std::move(*names));
        }
    }
    return served;
}

std::expected<std::unique_ptr<EngineStream>, Refusal> OfflineEngine::open(const StreamSettings& settings,
                                                                          std::shared_ptr<EventSink> sink) {
    const auto source = sourceOf(settings.source.value_or(""));
    if (!source) {
        return std::unexpected(source.error());
    }
    const auto target = targetOf(settings.target, *source);
    if (!target) {
        return std::unexpected(target.error());
    }
    const auto outlet = std::make_shared<StreamOutlet>(std::move(sink));
    Interpreter::Job job{.translator = parts_.translator,
                         .synthesiser = parts_.synthesiser,
                         .source = *source,
                         .target = *target,
                         .voice = settings.voice.value_or(""),
                         .hold = parts_.translator->hold(*source, *target)};
    const auto interpreter =
        std::make_shared<Interpreter>(std::move(job), outlet, workers_->interpreting.get_executor());
    const auto bounds = parts_.recognisers->silenceBounds();
    const int silenceMs =
        std::clamp(settings.silenceMs.value_or(defaultSilenceMs), bounds.shortest, bounds.longest);
    auto listener = std::make_shared<Listener>(parts_.recognisers, *source, silenceMs, limits_.listener,
                                               outlet, interpreter, workers_->recognising.get_executor());
    auto stream = std::make_unique<OfflineStream>(
        workers_, outlet, listener,
        OfflineStream::Session{.source = *source, .target = *target, .silenceMs = silenceMs});
    listener->warmUp();
    interpreter->warmUp();
    workers_->upkeep->translatorNeeded();
    return stream;
}

}  // namespace tarn::relay
