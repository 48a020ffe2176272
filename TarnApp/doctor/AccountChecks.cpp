#include <boost/asio/co_spawn.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Checks.h"
#include "TarnApp/server/Credentials.h"
#include "TarnApp/server/Keychain.h"
#include "TarnApp/server/RealTarnServerClient.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnPlatform/net/CertificateStore.h"
#include "TarnPlatform/net/HttpSession.h"
#include "TarnPlatform/secrets/FileSecretStore.h"
#include "TarnPlatform/secrets/SecretServiceStore.h"
#include "TarnPlatform/secrets/SecretStores.h"
#include "TarnPlatform/settings/SettingsFile.h"

namespace tarn {
namespace {

using enum CheckStatus;

/// The process's HTTP session with a shorter time limit.
class QuickSession final : public HttpSession {
public:
    explicit QuickSession(const DeploymentValues& values)
        : session_(HttpSession::make(Deployment::networkFor(values))) {}

    Task<Result<HttpResponse>> send(HttpRequest request) override {
        request.timeout = Checks::patience;
        return session_->send(std::move(request));
    }

private:
    const std::shared_ptr<HttpSession> session_;
};

/// The context on which answers arrive. It lives as long as the process, like the network thread that posts
/// to it.
asio::io_context& answers() {
    static asio::io_context context{1};
    return context;
}

template <typename T>
T waitFor(Task<T> task) {
    std::exception_ptr exception;
    std::optional<T> value;
    asio::co_spawn(answers(), std::move(task), [&](std::exception_ptr error, T result) {
        exception = std::move(error);
        value.emplace(std::move(result));
        answers().stop();
    });
    const auto work = asio::make_work_guard(answers());  // the network thread may still hold the task
    answers().restart();
    answers().run();
    if (exception) {
        std::rethrow_exception(exception);
    }
    return std::move(*value);
}

/// Returns what set the server's address: the variable, the file, or the program itself.
std::string originOfApi(const Deployment::Sources& sources, const Wording& say) {
    if (const auto value = sources.variable("TARN_API_URL"); value && !value->empty()) {
        return "TARN_API_URL";
    }
    return SettingsFile(sources.file).read().values.contains("apiUrl") ? sources.file.string()
                                                                       : say(DoctorText::originDefault);
}

CheckResult serverResult(const DeploymentValues& values, const Result<HttpResponse>& answer,
                         const Wording& say) {
    const auto sources = Deployment::Sources::ofProcess();
    const auto origin = originOfApi(sources, say);
    const auto address = values.apiBase.text();
    CheckResult result{.name = CheckName::server};
    if (!answer) {
        result.status = fault;
        result.detail = say(DoctorText::serverSilent, {address, answer.error().description});
        if (answer.error().kind == ErrorKind::unavailable) {
            result.detail = answer.error().description;
            result.advice = say(DoctorText::serverOfAnotherAdvice, {sources.file.string()});
            return result;
        }
        const bool isRelay = values.apiBase.isLoopback() && answer.error().kind == ErrorKind::connection;
        result.advice = isRelay ? say(DoctorText::serverRelayAdvice, {sources.file.string()})
                                : say(DoctorText::serverAdvice, {origin});
        return result;
    }
    const auto status = std::to_string(answer->status);
    if (answer->status == 401) {  // the right answer to a request without a token
        result.detail = say(DoctorText::serverAnswers, {address, origin});
    } else if (answer->status >= 500 || answer->status == 429) {
        result.status = fault;
        result.detail = say(DoctorText::serverBroken, {address, status});
        result.advice = say(DoctorText::serverBrokenAdvice);
    } else {
        result.status = fault;
        result.detail = say(DoctorText::serverStrange, {address, status});
        result.advice = say(DoctorText::serverAddressAdvice, {origin});
    }
    return result;
}

CheckResult certificateResult(const Result<DeploymentValues>& values,
                              const std::optional<Result<HttpResponse>>& answer, const Wording& say) {
    const bool isNeeded = values && values->apiBase.isSecure();
    CheckResult result{.name = CheckName::certificates};
    if (const auto store = certificateStore(); !store) {
        result.status = isNeeded ? fault : warning;
        result.detail = store.error().description;
        result.advice = say(DoctorText::certificatesAdvice);
    } else if (isNeeded && answer && !*answer && answer->error().kind == ErrorKind::tls) {
        result.status = fault;
        result.detail = say(DoctorText::certificateRefused, {answer->error().description});
        result.advice = say(DoctorText::certificateAdvice);
    } else {
        const auto text =
            isNeeded && answer && *answer ? DoctorText::certificatesAccepted : DoctorText::certificatesFound;
        result.detail = say(text, {*store});
    }
    return result;
}

SecretResult<std::optional<std::string>> stored(Keychain::Account account, const Wording& say) {
    const SecretKey key = Keychain::keyOf(account);
    switch (SecretServiceStore::presence(Checks::patience)) {
        case SecretServicePresence::absent:
        case SecretServicePresence::noBus:
            return FileSecretStore(secretsFolder()).get(key);
        case SecretServicePresence::unanswered:
            return std::unexpected(SecretError{SecretFault::timedOut, say(DoctorText::busSilent)});
        default:
            return SecretServiceStore(Checks::patience).peek(key);
    }
}

CheckResult tokenResult(const Result<DeploymentValues>& values, bool serverAnswers, const Wording& say) {
    CheckResult result{.name = CheckName::token, .status = warning};
    const auto token = stored(Keychain::Account::pat, say);
    if (!token) {
        result.detail = say(DoctorText::tokenUnreadable, {token.error().description});
        result.advice = say(DoctorText::tokenUnreadableAdvice);
        return result;
    }
    if (!*token) {
        result.detail = say(DoctorText::tokenAbsent);
        result.advice = say(DoctorText::tokenAbsentAdvice);
        return result;
    }
    const auto issuer = stored(Keychain::Account::server, say).value_or(std::nullopt);
    if (issuer && values && *issuer != Credentials::originOf(values->apiBase)) {
        result.detail = say(DoctorText::tokenElsewhere, {*issuer});
        result.advice = say(DoctorText::tokenAbsentAdvice);
        return result;
    }
    if (!serverAnswers) {
        result.detail = say(DoctorText::tokenUntested);
        return result;
    }
    using PlainHttp = RealTarnServerClient::PlainHttp;
    const auto client = std::make_shared<RealTarnServerClient>(
        values->apiBase, fixedPat(*token), std::make_shared<QuickSession>(*values),
        Deployment::networkFor(*values),
        values->allowPlainHttp ? PlainHttp::anywhere : PlainHttp::onlyLoopback);
    const auto user = waitFor(client->fetchMe());
    if (user) {
        return {.name = CheckName::token, .detail = say(DoctorText::tokenAccepted)};
    }
    if (user.error().meansSignedOut()) {
        result.status = fault;
        result.detail = say(DoctorText::tokenRefused);
        result.advice = say(DoctorText::tokenRefusedAdvice);
        return result;
    }
    result.detail = say(DoctorText::tokenUnclear, {diagnosis(user.error())});
    result.advice = say(DoctorText::tokenRefusedAdvice);
    return result;
}

}  // namespace

void Checks::account(const Wording& say, const Report& report) {
    answers();
    const auto& values = Deployment::current();
    std::optional<Result<HttpResponse>> answer;
    if (!values) {
        report({.name = CheckName::server,
                .status = fault,
                .detail = values.error().description,
                .advice = say(DoctorText::deploymentAdvice)});
    } else {
        HttpRequest request;
        request.url = values->apiBase.appendingPathComponent("api").appendingPathComponent("me");
        answer = waitFor(QuickSession(*values).send(std::move(request)));
        report(serverResult(*values, *answer, say));
    }
    report(certificateResult(values, answer, say));
    report(tokenResult(values, answer && *answer, say));
}

void Checks::proxy(const Wording& say, const Report& report) {
    CheckResult result{.name = CheckName::proxy, .detail = say(DoctorText::proxyNone)};
    const auto& values = Deployment::current();
    const auto proxy =
        values ? ProxySettings::fromEnvironment().proxyFor(values->apiBase) : std::optional<std::string>();
    if (proxy) {
        const auto url = Url::parse(proxy->contains("://") ? *proxy : "http://" + *proxy);
        if (url && !url->host().empty()) {
            // The proxy's URL may hold a user name and a password, which are not shown.
            result.detail = say(DoctorText::proxyUsed, {url->scheme() + "://" + url->hostHeader()});
        } else {
            result.status = fault;
            result.detail = say(DoctorText::proxyUnusable);
            result.advice = say(DoctorText::proxyAdvice);
        }
    }
    report(std::move(result));
}

void Checks::keyring(const Wording& say, const Report& report) {
    CheckResult result{.name = CheckName::keyring, .status = warning};
    const auto presence = SecretServiceStore::presence(patience);
    if (presence == SecretServicePresence::absent || presence == SecretServicePresence::noBus) {
        result.detail = say(
            presence == SecretServicePresence::absent ? DoctorText::keyringAbsent : DoctorText::keyringNoBus,
            {secretsFolder().string()});
        result.advice = say(DoctorText::keyringAbsentAdvice);
    } else if (presence == SecretServicePresence::unanswered) {
        result.status = fault;
        result.detail = say(DoctorText::busSilent);
        result.advice = say(DoctorText::busSilentAdvice);
    } else if (const auto locked = SecretServiceStore(patience).isLocked(); !locked) {
        result.status = fault;
        result.detail = locked.error().description;
        result.advice = say(DoctorText::keyringAdvice);
    } else if (*locked) {
        result.detail = say(DoctorText::keyringLocked);
        result.advice = say(DoctorText::keyringLockedAdvice);
    } else {
        result = {.name = CheckName::keyring, .detail = say(DoctorText::keyringOpen)};
    }
    report(std::move(result));
}

}  // namespace tarn
