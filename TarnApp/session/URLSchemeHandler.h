#pragma once

#include <functional>
#include <memory>
#include <string>

#include "TranslateViewModel.h"

namespace tarn {

/// Base of what follows whether the user is signed in.
class SignInFollower {
public:
    virtual ~SignInFollower() = default;
    virtual void setIsLoggedIn(bool value) = 0;
};

/// Carries out the addresses of the scheme "tarn" that the desktop opens in this program. Thread: main.
class URLSchemeHandler {
public:
    std::shared_ptr<Credentials> credentials;
    std::weak_ptr<TranslateViewModel> viewModel;
    std::weak_ptr<SignInFollower> onboarding;
    std::function<void()> bringToFront;

    /// `url` may be anything. An address of another scheme, and a sign-in without a usable token, are
    /// ignored; nothing of them is logged but the host of an unknown one.
    void handle(const std::string& url) const;

private:
    void signedIn(const std::string& token, const std::optional<std::string>& email) const;
    void signedOut() const;
    void activate() const;
};

}  // namespace tarn
