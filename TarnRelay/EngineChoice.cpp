#include "EngineChoice.h"

#include <cstdlib>
#include <utility>

#include "TarnRelay/offline/speech/CommandRecogniser.h"
#include "TarnRelay/offline/speech/PocketSphinxRecogniser.h"
#include "TarnRelay/offline/translate/ApertiumTranslator.h"
#include "TarnRelay/offline/translate/ChainTranslator.h"
#include "TarnRelay/offline/translate/CommandTranslator.h"
#include "TarnRelay/offline/voice/CommandSynthesiser.h"
#include "TarnRelay/offline/voice/EspeakSynthesiser.h"
#include "TarnRelay/stream/ScriptEngine.h"
#include "TarnRelay/stream/UpstreamEngine.h"
#include "offline/OfflineEngine.h"

namespace tarn::relay {
namespace {

/// The limit of the engines that only pass messages on, which cost this machine next to nothing.
constexpr std::size_t defaultMaxStreams = 64;

std::size_t streamsOrDefault(const EngineChoice& choice) {
    return choice.maxStreams == 0 ? defaultMaxStreams : choice.maxStreams;
}

std::unexpected<Error> misfit(std::string description) {
    return failure(ErrorKind::invalidInput, std::move(description));
}

Result<ChosenEngine> makeScript(const EngineChoice& choice, const NetworkContext& network) {
    if (choice.script.empty()) {
        return misfit("--engine script needs the FILE to play");
    }
    auto steps = readScript(choice.script);
    if (!steps) {
        return failure(ErrorKind::system, steps.error().description);
    }
    ChosenEngine chosen;
    chosen.engine = std::make_unique<ScriptEngine>(std::move(*steps), network.executor, network.clock);
    chosen.maxStreams = streamsOrDefault(choice);
    return chosen;
}

Result<ChosenEngine> makeUpstream(const EngineChoice& choice, const NetworkContext& network) {
    if (choice.serviceHost.empty()) {
        return misfit("--engine upstream needs --service-host");
    }
    auto endpoint = UpstreamEngine::serviceEndpoint(choice.serviceHost);
    if (!endpoint) {
        return std::unexpected(endpoint.error());
    }
    const char* key = std::getenv("TARN_SERVICE_KEY");
    if (key == nullptr || *key == '\0') {
        return failure(ErrorKind::unavailable,
                       "--engine upstream needs the service's key in TARN_SERVICE_KEY");
    }
    ChosenEngine chosen;
    chosen.engine = std::make_unique<UpstreamEngine>(std::move(*endpoint), key, network);
    chosen.maxStreams = streamsOrDefault(choice);
    return chosen;
}

OfflineEngine::Parts offlineParts(const EngineChoice& choice) {
    OfflineEngine::Parts parts;
    if (choice.recogniser.empty()) {
        parts.recognisers = std::make_shared<PocketSphinxFactory>();
    } else {
        parts.recognisers = std::make_shared<CommandRecogniserFactory>(choice.recogniser);
    }
    if (choice.translator.empty()) {
        parts.translator = std::make_shared<ChainTranslator>(std::make_unique<ApertiumTranslator>());
    } else {
        parts.translator = std::make_shared<CommandTranslator>(choice.translator);
    }
    if (choice.synthesiser.empty()) {
        parts.synthesiser = std::make_shared<EspeakSynthesiser>();
    } else {
        parts.synthesiser = std::make_shared<CommandSynthesiser>(choice.synthesiser);
    }
    return parts;
}

Result<ChosenEngine> makeOffline(const EngineChoice& choice) {
    OfflineEngine::Limits limits;
    limits.maxStreams = static_cast<int>(choice.maxStreams);
    auto engine = std::make_unique<OfflineEngine>(offlineParts(choice), limits);
    ChosenEngine chosen;
    chosen.maxStreams = static_cast<std::size_t>(engine->maxStreams());
    chosen.engine = std::move(engine);
    return chosen;
}

}  // namespace

Result<ChosenEngine> makeEngine(const EngineChoice& choice, const NetworkContext& network) {
    // An option that the chosen engine would ignore is refused: whoever gave it expects it to work.
    const bool hasCommands =
        !choice.recogniser.empty() || !choice.translator.empty() || !choice.synthesiser.empty();
    if (!choice.script.empty() && choice.name != "script") {
        return misfit(
            "\"" + choice.script +
            "\" is no command of this program (--help lists them), and a script is played by --engine "
            "script only");
    }
    if (!choice.serviceHost.empty() && choice.name != "upstream") {
        return misfit("--service-host belongs to --engine upstream");
    }
    if (hasCommands && choice.name != "offline") {
        return misfit("--recogniser, --translator and --synthesiser belong to --engine offline");
    }
    if (choice.name == "script") {
        return makeScript(choice, network);
    }
    if (choice.name == "upstream") {
        return makeUpstream(choice, network);
    }
    return makeOffline(choice);
}

}  // namespace tarn::relay
