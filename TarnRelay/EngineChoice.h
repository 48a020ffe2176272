#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/net/NetworkContext.h"
#include "TarnRelay/stream/TranslationEngine.h"

namespace tarn::relay {

/// What the command line says about the engine; empty texts: not said.
struct EngineChoice {
    std::string name = "offline";  ///< "offline", "upstream" or "script"
    std::string script;            ///< file of the script engine
    std::string serviceHost;       ///< of the upstream engine
    std::string recogniser;        ///< command lines that replace the offline engine's own parts
    std::string translator;
    std::string synthesiser;
    std::size_t maxStreams = 0;  ///< open at once; 0: as many as the engine is good for
};

struct ChosenEngine {
    std::unique_ptr<TranslationEngine> engine;
    std::size_t maxStreams = 0;
};

/// Makes the chosen engine. Fails with `invalidInput` for options that do not fit together and with another
/// kind where what the engine needs is not there. The upstream engine's key is `TARN_SERVICE_KEY` of the
/// environment.
Result<ChosenEngine> makeEngine(const EngineChoice& choice, const NetworkContext& network);

}  // namespace tarn::relay
