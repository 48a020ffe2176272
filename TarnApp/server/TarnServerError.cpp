#include "TarnServerError.h"

#include <boost/json/parse.hpp>
#include <cctype>

#include "TarnPlatform/base/Text.h"

namespace tarn {

bool TarnServerError::meansSignedOut() const {
    if (const auto* const answer = as<Http>()) {
        return answer->status == 401;
    }
    if (const auto* const failed = as<Transport>()) {
        return failed->error.kind == ErrorKind::upgrade && failed->error.httpStatus == 401;
    }
    return as<NotAuthenticated>() != nullptr;
}

Error keyringError(const SecretError& error) {
    switch (error.fault) {
        case SecretFault::locked:
            return {ErrorKind::unavailable, error.description + ": unlock the keyring and start again", 0};
        case SecretFault::timedOut:
            return {ErrorKind::timeout, error.description + ": unlock the keyring and start again", 0};
        default:
            return {ErrorKind::unavailable, "the sign-in cannot be read: " + error.description, 0};
    }
}

std::optional<std::string> serversReason(const TarnServerError& error) {
    std::string body;
    if (const auto* const transport = error.as<TarnServerError::Transport>()) {
        body = transport->body;
    } else if (const auto* const answer = error.as<TarnServerError::Http>()) {
        body = answer->body.value_or("");
    }
    boost::system::error_code notJson;
    const auto value = boost::json::parse(body, notJson);
    std::string sentence = body;
    if (notJson) {
        while (sentence.ends_with('\n') || sentence.ends_with('\r')) {
            sentence.pop_back();
        }
        if (sentence.starts_with('<') || sentence.contains('\n')) {
            sentence.clear();  // it is a page
        }
    } else {
        sentence.clear();
        for (const char* const key : {"message", "error"}) {
            const auto* const object = value.if_object();
            const auto* const field = object == nullptr ? nullptr : object->if_contains(key);
            if (field != nullptr && field->is_string()) {
                sentence = std::string(field->as_string());
            }
        }
    }
    const bool isSentence = !sentence.empty() && isUtf8(sentence);
    return isSentence ? std::optional(printable(firstCharacters(sentence, 300))) : std::nullopt;
}

std::string diagnosis(const TarnServerError& error) {
    if (const auto* const answer = error.as<TarnServerError::Http>()) {
        if (answer->status == 0) {
            return answer->body.value_or("no answer");
        }
        return "the server answered with status " + std::to_string(answer->status);
    }
    if (const auto* const decoding = error.as<TarnServerError::Decoding>()) {
        return "the server's answer makes no sense: " + decoding->error.description;
    }
    if (const auto* const transport = error.as<TarnServerError::Transport>()) {
        const auto reason = serversReason(error);
        return transport->error.description + (reason ? ": " + *reason : "");
    }
    return "not signed in";
}

std::string explain(const TarnServerError& error) {
    const auto* const answer = error.as<TarnServerError::Http>();
    const auto reason = answer != nullptr && answer->status != 0 ? serversReason(error) : std::nullopt;
    return diagnosis(error) + (reason ? ": " + *reason : "");
}

std::string describe(const TarnServerError& error) {
    std::string text = explain(error);
    if (!text.empty()) {
        text.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.front())));
    }
    return text;
}

}  // namespace tarn
