#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "TarnApp/server/ResumingServerClient.h"

namespace tarn {

/// What the user wants done about a connection that is lost. Asked for when a stream is opened, on its
/// thread.
struct ResumeWishes {
    std::function<bool()> resumes;
    std::function<bool()> standsIn{};                   ///< may be empty: no
    ResumingServerClient::FindStandIn findStandIn{};    ///< may be empty
    std::optional<std::chrono::seconds> giveUpAfter{};  ///< none: never
};

/// `client`, whose streams outlive their connections as `wishes` say, with the process's network and clock.
std::shared_ptr<TarnServerClient> withResumedStreams(std::shared_ptr<TarnServerClient> client,
                                                     ResumeWishes wishes);

}  // namespace tarn
