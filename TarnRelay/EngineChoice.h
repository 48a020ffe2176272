#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/net/NetworkContext.h"
#include "TarnRelay/stream/TranslationEngine.h"

namespace tarn::relay {

/// The command line's options about the engine. A text is empty where its option was not given.
struct EngineChoice {
    std::string name = "offline";  ///< "offline", "upstream" or "script"
    std::string script;            ///< file of the script engine
    std::string serviceHost;       ///< of the upstream engine
    std::string recogniser;        ///< command lines that replace the offline engine's own parts
    std::string translator;
    std::string synthesiser;
    std::size_t maxStreams = 0;  ///< open at once; 0 for as many as the engine is good for
};

struct ChosenEngine {
    std::unique_ptr<TranslationEngine> engine;
    std::size_t maxStreams = 0;
};

/// Makes the chosen engine. Fails with `invalidInput` for options that do not fit together and with another
/// kind where something that the engine needs is missing. The upstream engine's key is `TARN_SERVICE_KEY` of
/// the environment.
Result<ChosenEngine> makeEngine(const EngineChoice& choice, const NetworkContext& network);

}  // namespace tarn::relay
