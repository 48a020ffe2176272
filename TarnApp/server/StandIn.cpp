#include "StandIn.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <chrono>
#include <utility>

#include "AccessToken.h"
#include "JsonRecords.h"
#include "RealTarnServerClient.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnPlatform/base/CarryOut.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/process/ChildProcess.h"
#include "TarnPlatform/process/Spawn.h"

namespace tarn {
namespace {

namespace json = boost::json;

constexpr std::chrono::seconds answerLimit{2};  // it is on this machine
constexpr std::chrono::seconds programLimit{5};
constexpr int unauthorized = 401;
constexpr const char* address = "stand-in@localhost";

bool holds(const std::vector<std::string>& codes, const std::string& code) {
    return std::ranges::find(codes, code) != codes.end();
}

/// What the relay does not tell, it may be able to do.
bool serves(const ServerLanguages& languages, const std::string& source, const std::string& target) {
    const bool hears = source.empty() || languages.hears.empty() || holds(languages.hears, source);
    const bool translates =
        languages.translates.empty() || std::ranges::any_of(languages.translates, [&](const auto& from) {
            return (source.empty() || from.first == source) && holds(from.second, target);
        });
    return hears && translates;
}

}  // namespace

StandIn::StandIn(Parts parts) : parts_(std::move(parts)), session_(HttpSession::make(parts_.network)) {}

std::shared_ptr<StandIn> StandIn::ofThisMachine(const Url& accountServer, SerialExecutor worker,
                                                const std::filesystem::path& program) {
    const auto values =
        Deployment::load({.file = {}, .variable = [](const char*) { return std::nullopt; }});  // compiled in
    if (!values ||
        (accountServer.isLoopback() && accountServer.portOrDefault() == values->apiBase.portOrDefault())) {
        return nullptr;
    }
    const auto beside = (program.parent_path() / "tarn-relay").string();
    return std::make_shared<StandIn>(
        Parts{values->apiBase, std::move(worker), Deployment::networkFor(*values), [beside] {
                  const auto found = findProgram(beside);
                  return tokenOfRelayProgram(found.empty() ? findProgram("tarn-relay") : found);
              }});
}

Task<std::shared_ptr<TarnServerClient>> StandIn::find(std::string source, std::string target) {
    return carryOut(parts_.worker, findOnWorker(shared_from_this(), std::move(source), std::move(target)));
}

Task<std::shared_ptr<TarnServerClient>> StandIn::findOnWorker(std::shared_ptr<StandIn> self,
                                                              std::string source, std::string target) {
    if (self->isStrange_ || !co_await self->canTranslate(std::move(source), std::move(target))) {
        co_return nullptr;
    }
    int status = self->token_ ? co_await self->statusWithToken() : unauthorized;
    if (status == unauthorized) {  // there is none yet, or it has been revoked since
        self->token_ = self->parts_.issueToken();
        status = self->token_ ? co_await self->statusWithToken() : 0;
    }
    if (status == unauthorized) {
        self->isStrange_ = true;  // to ask again and again would fill its list of tokens
        logLine("the relay of this machine cannot stand in: it takes no token of tarn-relay issue-token");
    }
    if (status != 200) {
        co_return nullptr;
    }
    co_return std::make_shared<RealTarnServerClient>(self->parts_.api, fixedPat(self->token_), self->session_,
                                                     self->parts_.network);
}

Task<std::optional<HttpResponse>> StandIn::get(Url url, std::vector<HttpHeader> headers) const {
    HttpRequest request;
    request.url = std::move(url);
    request.headers = std::move(headers);
    request.headers.push_back({"User-Agent", Deployment::userAgent});
    request.timeout = answerLimit;
    auto answer = co_await session_->send(std::move(request));
    co_return answer ? std::optional(std::move(*answer)) : std::nullopt;
}

Task<bool> StandIn::canTranslate(std::string source, std::string target) const {
    std::vector<HttpHeader> none;
    const auto answer = co_await get(parts_.api.withPath("/healthz"), std::move(none));
    if (!answer || answer->status != 200) {
        co_return false;
    }
    json::error_code error;
    const auto value = json::parse(answer->body, error);
    const auto* const health = error ? nullptr : value.if_object();
    const auto* const engine = health == nullptr ? nullptr : health->if_contains("engine");
    if (engine == nullptr || !engine->is_string() || engine->as_string() == "upstream") {
        co_return false;  // no relay, or one that needs the service itself
    }
    const auto* const told = health->if_contains("languages");
    const auto languages = told == nullptr ? std::nullopt : readLanguages(*told);
    co_return serves(languages.value_or(ServerLanguages()), source, target);
}

Task<int> StandIn::statusWithToken() const {
    std::vector<HttpHeader> headers{{"Authorization", "Bearer " + *token_}};
    const auto answer = co_await get(parts_.api.appendingPathComponent("api/me"), std::move(headers));
    co_return answer ? answer->status : 0;
}

std::optional<std::string> tokenOfRelayProgram(const std::string& program) {
    if (program.empty()) {
        return std::nullopt;
    }
    const auto end = std::chrono::steady_clock::now() + programLimit;
    ChildCommand command;
    command.arguments = {program, "issue-token", address};
    const auto child = ChildProcess::start(command);
    if (!child) {
        return std::nullopt;
    }
    const auto token = (*child)->readUntil('\n', longestToken, end);
    return token && canBeToken(*token) && (*child)->finish(end) ? std::optional(*token) : std::nullopt;
}

}  // namespace tarn
