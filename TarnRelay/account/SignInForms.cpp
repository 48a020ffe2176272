#include "SignInForms.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <utility>

#include "TokenRegistry.h"

namespace tarn::relay {
namespace {

/// Compares in a time that does not depend on where the two differ, so that nobody can guess a secret byte by
/// byte from how long an answer takes. Every secret has the same length, which may be known.
bool sameSecret(std::string_view left, std::string_view right) {
    return left.size() == right.size() && ::CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}

}  // namespace

SignInForms::SignInForms(std::shared_ptr<Clock> clock) : clock_(std::move(clock)) {}

Result<SignInForms::Form> SignInForms::open(std::string_view browser) {
    forgetOld();
    auto value = randomSecret();
    if (!value) {
        return std::unexpected(value.error());
    }
    std::string known;
    for (const auto& form : forms_) {
        if (sameSecret(form.browser, browser)) {
            known = form.browser;
        }
    }
    auto binding = known.empty() ? randomSecret() : Result<std::string>(known);
    if (!binding) {
        return std::unexpected(binding.error());
    }
    if (forms_.size() >= maxOpen) {
        forms_.pop_front();
    }
    forms_.push_back({std::move(*value), std::move(*binding), clock_->now()});
    return forms_.back();
}

bool SignInForms::take(std::string_view value, std::string_view browser) {
    forgetOld();
    // The loop does not end at the match, which would tell its place.
    auto found = forms_.end();
    for (auto at = forms_.begin(); at != forms_.end(); ++at) {
        if (sameSecret(at->value, value)) {
            found = at;
        }
    }
    if (found == forms_.end()) {
        return false;
    }
    const bool isBound = sameSecret(found->browser, browser);
    forms_.erase(found);
    return isBound;
}

void SignInForms::forgetOld() {
    const auto now = clock_->now();
    while (!forms_.empty() && now - forms_.front().opened >= lifetime) {
        forms_.pop_front();
    }
}

}  // namespace tarn::relay
