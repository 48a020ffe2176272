#include "TarnServerError.h"

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

std::string describe(const TarnServerError& error) {
    return "The operation couldn’t be completed. (TarnServerError error " +
           std::to_string(error.value().index()) + ".)";
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
        return transport->error.description;
    }
    return "not signed in";
}

}  // namespace tarn
