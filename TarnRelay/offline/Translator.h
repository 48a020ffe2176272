#pragma once

#include <string>
#include <utility>
#include <vector>

#include "TarnPlatform/concurrency/Result.h"

namespace tarn::relay {

/// Translates text between languages. Shared by all clients. Thread: any; a call blocks, so it belongs on a
/// worker.
class Translator {
public:
    virtual ~Translator() = default;
    /// The pairs (source, target) of language codes that can be translated, chains included. An empty list
    /// means that any pair may be tried (a command of the user's own does not tell what it can do).
    virtual std::vector<std::pair<std::string, std::string>> pairs() const = 0;
    /// One sentence or a part of one. A failure costs this text only: the next call works again.
    virtual Result<std::string> translate(const std::string& text, const std::string& source,
                                          const std::string& target) = 0;
    /// Makes the calls under way, and later ones, fail soon instead of waiting for what they wait for.
    virtual void stop() {}
};

}  // namespace tarn::relay
