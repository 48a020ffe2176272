#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ConnectionWishes.h"
#include "ResumingTranslateStream.h"
#include "TarnServerClient.h"

namespace tarn {

/// A server client whose streams outlive their connections, where the user wants that. All else is another
/// client's.
class ResumingServerClient final : public TarnServerClient {
public:
    /// Finds who translates on this machine; null where nobody does. Thread: of `openTranslateStream`.
    using FindStandIn = std::function<Task<std::shared_ptr<TarnServerClient>>(
        std::optional<std::string> sourceLang, std::string targetLang)>;

    struct Options {
        AskConnectionWishes wishes;
        FindStandIn findStandIn{};  ///< may be empty
        ResumeParts::Watch watchNetwork{};
        SerialExecutor network;
        std::shared_ptr<Clock> clock;
    };

    ResumingServerClient(std::shared_ptr<TarnServerClient> inner, Options options)
        : inner_(std::move(inner)), options_(std::move(options)) {}

    Task<ServerResult<UserAccount>> fetchMe() override { return inner_->fetchMe(); }
    Task<ServerResult<EmptyResponse>> logout() override { return inner_->logout(); }
    /// A first connection that cannot be opened is a failure, as ever. Thread: one serial executor, which the
    /// connections that follow are opened on, too.
    Task<ServerResult<std::shared_ptr<TarnTranslateStream>>> openTranslateStream(
        std::optional<std::string> sourceLang, std::string targetLang, std::optional<std::string> voice,
        std::string voiceClone, std::optional<int> silenceMs) override;

private:
    struct Request {
        std::optional<std::string> sourceLang;
        std::string targetLang;
        std::optional<std::string> voice;
        std::string voiceClone;
        std::optional<int> silenceMs;
    };

    static Task<ServerResult<std::shared_ptr<TarnTranslateStream>>> open(
        std::shared_ptr<TarnServerClient> client, Request request);
    static Task<ServerResult<std::shared_ptr<TarnTranslateStream>>> openStandIn(FindStandIn find,
                                                                                Request request);
    static Task<ServerResult<std::shared_ptr<TarnTranslateStream>>> openResuming(
        std::shared_ptr<TarnServerClient> client, Options options, ConnectionWishes wishes, Request request);

    const std::shared_ptr<TarnServerClient> inner_;
    const Options options_;
};

}  // namespace tarn
