#include "ResumingServerClient.h"

#include <algorithm>
#include <boost/asio/this_coro.hpp>
#include <chrono>
#include <utility>

namespace tarn {
namespace {

constexpr std::chrono::hours longestPatience{24 * 365};

}  // namespace

using Opened = ServerResult<std::shared_ptr<TarnTranslateStream>>;

Task<Opened> ResumingServerClient::openTranslateStream(std::optional<std::string> sourceLang,
                                                       std::string targetLang,
                                                       std::optional<std::string> voice,
                                                       std::string voiceClone, std::optional<int> silenceMs) {
    Request request{std::move(sourceLang), std::move(targetLang), std::move(voice), std::move(voiceClone),
                    silenceMs};
    const ConnectionWishes wishes = options_.wishes();
    return wishes.resumes ? openResuming(inner_, options_, wishes, std::move(request))
                          : open(inner_, std::move(request));
}

Task<Opened> ResumingServerClient::open(std::shared_ptr<TarnServerClient> client, Request request) {
    auto opening = client->openTranslateStream(request.sourceLang, request.targetLang, request.voice,
                                               request.voiceClone, request.silenceMs);
    co_return co_await std::move(opening);
}

Task<Opened> ResumingServerClient::openStandIn(FindStandIn find, Request request) {
    auto finding = find(request.sourceLang, request.targetLang);
    const auto client = co_await std::move(finding);
    if (!client) {
        co_return std::unexpected(TarnServerError::transport(
            {ErrorKind::unavailable, "nothing on this machine translates these languages", 0}));
    }
    auto opening = open(client, std::move(request));
    co_return co_await std::move(opening);
}

Task<Opened> ResumingServerClient::openResuming(std::shared_ptr<TarnServerClient> client, Options options,
                                                ConnectionWishes wishes, Request request) {
    auto opening = open(client, request);
    auto first = co_await std::move(opening);
    if (!first) {
        co_return first;
    }
    ResumeParts parts;
    parts.open = [client, request] { return open(client, request); };
    if (options.findStandIn && wishes.usesStandIn) {
        parts.openStandIn = [find = options.findStandIn, request] { return openStandIn(find, request); };
    }
    parts.watchNetwork = options.watchNetwork;
    parts.main = co_await asio::this_coro::executor;
    parts.network = options.network;
    parts.clock = options.clock;
    if (wishes.giveUpAfter) {
        const auto limit = std::min<std::chrono::duration<double>>(*wishes.giveUpAfter, longestPatience);
        parts.giveUpAfter = std::chrono::duration_cast<Clock::Duration>(limit);
    }
    co_return std::make_shared<ResumingTranslateStream>(std::move(*first), std::move(parts));
}

}  // namespace tarn
