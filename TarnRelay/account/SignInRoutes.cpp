#include "SignInRoutes.h"

#include <algorithm>
#include <boost/json.hpp>
#include <chrono>
#include <string_view>
#include <utility>

#include "EmailAddress.h"
#include "FormBody.h"
#include "PageLanguage.h"
#include "RequestCheck.h"
#include "SignInStyle.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/Text.h"
#include "TarnPlatform/net/Url.h"

namespace tarn::relay {
namespace {

constexpr std::size_t maxFormBytes = 4096;
constexpr std::string_view cookieName = "tarn_signin";

ServerResponse page(int status, std::string html) {
    ServerResponse response;
    response.status = status;
    response.headers = {
        {"Content-Type", "text/html; charset=utf-8"},
        {"Cache-Control", "no-store"},
        // The page needs its style sheet and its form, and everything else is forbidden, scripts first of
        // all.
        {"Content-Security-Policy", "default-src 'none'; style-src " + signInStyleSource() +
                                        "; form-action 'self'; frame-ancestors 'none'; base-uri 'none'"},
        {"X-Frame-Options", "DENY"},
        {"X-Content-Type-Options", "nosniff"},
        // "no-referrer" would make browsers post the form with "Origin: null", which is refused.
        {"Referrer-Policy", "same-origin"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Vary", "Accept-Language"},
    };
    response.body = std::move(html);
    return response;
}

ServerResponse refusal(int status, std::string_view message) {
    auto response = page(status, boost::json::serialize(boost::json::object{{"error", message}}));
    response.headers.front().value = "application/json";
    return response;
}

PageLanguage languageOf(const ServerRequest& request) {
    return pageLanguage(headerValue(request.headers, "Accept-Language"));
}

/// The value of our cookie; empty where there is none.
std::string_view browserOf(const ServerRequest& request) {
    auto rest = headerValue(request.headers, "Cookie");
    while (!rest.empty()) {
        const auto end = std::min(rest.find(';'), rest.size());
        auto pair = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        while (pair.starts_with(' ')) {
            pair.remove_prefix(1);
        }
        if (pair.starts_with(cookieName) && pair.substr(cookieName.size()).starts_with('=')) {
            return pair.substr(cookieName.size() + 1);
        }
    }
    return {};
}

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    return first == std::string::npos ? std::string()
                                      : text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// The token and the address are percent-encoded in full, so that neither can add a parameter to the link.
std::string callback(const std::string& token, const std::string& email) {
    return Url::parse("tarn://login")->withQueryItems({{"token", token}, {"user_email", email}}).text();
}

}  // namespace

SignInRoutes::SignInRoutes(const std::shared_ptr<Clock>& clock, std::string suggestedEmail, Issue issue)
    : suggestedEmail_(std::move(suggestedEmail)), issue_(std::move(issue)), forms_(clock), limit_(clock) {}

Task<ServerResponse> SignInRoutes::answer(ServerRequest request, std::string query, bool fromThisMachine) {
    ServerResponse response;
    const auto items = parseForm(query);
    const bool isForTarn =
        items && items->contains("return_to") && items->find("return_to")->second == "macos";
    if (request.method != "GET" && request.method != "POST") {
        response = refusal(405, "this path does not take this method");
        response.headers.push_back({"Allow", "GET, POST"});
    } else if (const auto objection = pageObjection(request)) {
        response = refusal(403, *objection);
    } else if (!isForTarn) {
        response = page(400, strayPage(languageOf(request)));
    } else if (!fromThisMachine) {
        response = page(403, elsewherePage(languageOf(request)));
    } else if (request.method == "GET") {
        response = formPage(request, 200, suggestedEmail_, SignInNotice::none);
    } else {
        auto answered = co_await consent(std::move(request));
        response = std::move(answered);
    }
    co_return response;
}

ServerResponse SignInRoutes::formPage(const ServerRequest& request, int status, std::string email,
                                      SignInNotice notice) {
    auto opened = forms_.open(browserOf(request));
    if (!opened) {
        logLine("[relay] no sign-in form could be made: " + opened.error().description);
        return refusal(500, "the sign-in form could not be made");
    }
    SignInForm form;
    form.value = opened->value;
    form.email = std::move(email);
    form.notice = notice;
    auto response = page(status, signInFormPage(languageOf(request), form));
    const auto age = std::chrono::seconds(SignInForms::lifetime).count();
    response.headers.push_back({"Set-Cookie", std::string(cookieName) + "=" + opened->browser +
                                                  "; Path=/auth; Max-Age=" + std::to_string(age) +
                                                  "; HttpOnly; SameSite=Strict"});
    return response;
}

Task<ServerResponse> SignInRoutes::consent(ServerRequest request) {
    if (!isFormType(headerValue(request.headers, "Content-Type"))) {
        co_return refusal(415, "the sign-in form is application/x-www-form-urlencoded");
    }
    if (request.body.size() > maxFormBytes) {
        co_return refusal(413, "the sign-in form is too large");
    }
    const auto fields = parseForm(request.body);
    if (!fields) {
        co_return refusal(400, fields.error().description);
    }
    const auto field = [&fields](std::string_view name) {
        const auto found = fields->find(name);
        return found == fields->end() ? std::string() : found->second;
    };
    // The one-time value is used up whatever was decided, so that nobody can send the form a second time.
    const auto decision = field("answer");
    const bool isFresh = forms_.take(field("consent"), browserOf(request));
    if (decision == "cancel") {
        co_return page(200, cancelledPage(languageOf(request)));
    }
    if (decision != "allow") {
        co_return refusal(400, "the sign-in form has no answer");
    }
    auto email = trimmed(field("email"));
    if (!isUtf8(email)) {
        email.clear();
    }
    if (!isFresh) {
        co_return formPage(request, 403, std::move(email), SignInNotice::stale);
    }
    if (!isEmailAddress(email)) {
        co_return formPage(request, 422, std::move(email), SignInNotice::badEmail);
    }
    // The limit is asked last, so that refused forms do not use it up.
    if (!limit_.take()) {
        auto response = formPage(request, 429, std::move(email), SignInNotice::tooMany);
        response.headers.push_back({"Retry-After", std::to_string(IssueLimit::pause.count())});
        co_return response;
    }
    auto response = co_await issueToken(std::move(request), std::move(email));
    co_return response;
}

Task<ServerResponse> SignInRoutes::issueToken(ServerRequest request, std::string email) {
    const auto token = co_await issue_(email);
    if (!token) {
        logLine("[relay] no token could be issued: " + token.error().description);
        co_return formPage(request, 500, std::move(email), SignInNotice::notStored);
    }
    logLine("[relay] a token was issued by the sign-in page");
    auto response = page(200, signedInPage(languageOf(request), email, callback(*token, email)));
    // This page has no form to post, and its link holds the token.
    for (auto& header : response.headers) {
        if (header.name == "Referrer-Policy") {
            header.value = "no-referrer";
        }
    }
    co_return response;
}

}  // namespace tarn::relay
