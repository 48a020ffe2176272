#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Listener.h"
#include "TarnPlatform/base/Clock.h"
#include "TarnRelay/offline/speech/Recogniser.h"
#include "TarnRelay/offline/translate/Translator.h"
#include "TarnRelay/offline/voice/Synthesiser.h"
#include "TarnRelay/stream/TranslationEngine.h"

namespace tarn::relay {

/// Translates on this machine alone: a recogniser for each client, one translator and one voice for all.
///
/// Clients receive the events of the realtime protocol: partial texts while someone speaks, final ones at the
/// end of each utterance, then the translated voice as fast as it is made. The recognisers share a pool of
/// one thread for each core; translating and speaking, which wait for other programs, have a pool of their
/// own.
///
/// A language that is not served is refused with a text that names those that are. A recogniser or translator
/// that lists no languages is taken to try any.
///
/// When the engine and all its streams have gone, the translator and the synthesiser are stopped, and the
/// calls that are under way are waited for.
class OfflineEngine : public TranslationEngine {
public:
    static constexpr int defaultSilenceMs = 800;

    struct Parts {
        std::shared_ptr<RecogniserFactory> recognisers;
        std::shared_ptr<Translator> translator;
        std::shared_ptr<Synthesiser> synthesiser;
    };

    struct Limits {
        int maxStreams = 0;  ///< that the caller opens at once; 0 for as many as the cores do in real time
        Listener::Limits listener;
    };

    OfflineEngine(Parts parts, Limits limits, std::shared_ptr<Clock> clock = Clock::system());

    std::expected<std::unique_ptr<EngineStream>, Refusal> open(const StreamSettings& settings,
                                                               std::shared_ptr<EventSink> sink) override;

    ServedLanguages languages() const override;

    int maxStreams() const { return limits_.maxStreams; }

private:
    struct Workers;

    std::expected<std::string, Refusal> sourceOf(const std::string& asked) const;
    std::expected<std::string, Refusal> targetOf(const std::string& asked, const std::string& source) const;

    const Limits limits_;
    const std::shared_ptr<Workers> workers_;  ///< shared with the streams
    const Parts parts_;
    const std::vector<std::string> sources_;                        ///< empty where any may be tried
    const std::vector<std::pair<std::string, std::string>> pairs_;  ///< empty where any may be tried
};

}  // namespace tarn::relay
