#pragma once

#include <memory>
#include <optional>
#include <string>

#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Clock.h"
#include "TarnServerError.h"
#include "TarnTranslateStream.h"
#include "UserAccount.h"

namespace tarn {

/// The application's door to its account server. Nothing is retried or logged here.
/// Thread: any executor, several operations at once; the caller resumes on its own.
class TarnServerClient {
public:
    virtual ~TarnServerClient() = default;

    /// Who the stored token belongs to.
    virtual Task<ServerResult<UserAccount>> fetchMe() = 0;

    /// Ends the stored token on the server.
    virtual Task<ServerResult<EmptyResponse>> logout() = 0;

    /// Opens a translate stream, connected already. `sourceLang`: absent or empty for detection; `voice`:
    /// absent or empty for the service's own; `voiceClone`: "none", "once" or "always"; `silenceMs`:
    /// milliseconds of silence that end an utterance, absent for the service's own.
    virtual Task<ServerResult<std::shared_ptr<TarnTranslateStream>>> openTranslateStream(
        std::optional<std::string> sourceLang, std::string targetLang, std::optional<std::string> voice,
        std::string voiceClone, std::optional<int> silenceMs) = 0;
};

/// Ends the token of `client` on its server, waiting for 5 s of `clock` at most. False where that could not
/// be told.
Task<bool> endsOnServer(std::shared_ptr<TarnServerClient> client, std::shared_ptr<Clock> clock);

}  // namespace tarn
