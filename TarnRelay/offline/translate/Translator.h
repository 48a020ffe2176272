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
    /// Keeps what this pair needs from being ended as idle while the result lives. May be null.
    virtual std::shared_ptr<const void> hold(const std::string& /*source*/,
                                             const std::string& /*target*/) const {
        return nullptr;
    }
    /// Ends what was not needed for `limit`; it comes again with the next text that needs it. How long until
    /// it is worth another try; nothing where there is nothing to end. Blocks as `translate` does.
    virtual std::optional<Clock::Duration> endIdle(Clock::Duration /*limit*/) { return std::nullopt; }
    /// Makes the calls under way, and later ones, fail soon instead of waiting for what they wait for.
    virtual void stop() {}
};

}  // namespace tarn::relay
