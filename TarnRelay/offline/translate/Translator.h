#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/base/Result.h"

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
    /// While the result lives, the programs that this pair needs are not ended as idle. It may be null.
    virtual std::shared_ptr<const void> hold(const std::string& /*source*/,
                                             const std::string& /*target*/) const {
        return nullptr;
    }
    /// Ends the programs that were not needed for `limit`; they are started again with the next text that
    /// needs them. The result is how long to wait until another call is worth while, or nothing where no
    /// program is left to end. Blocks as `translate` does.
    virtual std::optional<Clock::Duration> endIdle(Clock::Duration /*limit*/) { return std::nullopt; }
    /// Makes the calls under way, and later ones, fail soon instead of waiting.
    virtual void stop() {}
};

}  // namespace tarn::relay
