#pragma once

#include <string>
#include <string_view>

#include "PageLanguage.h"

namespace tarn::relay {

/// Where the sign-in page is, as Tarn opens it.
inline constexpr std::string_view signInPath = "/auth?return_to=macos";

/// The message that the form shows about the attempt before.
enum class SignInNotice : unsigned char { none, badEmail, stale, tooMany, notStored };

struct SignInForm {
    std::string value;  ///< the form's one-time value
    std::string email;  ///< stands in the field; any text
    SignInNotice notice = SignInNotice::none;
};

// These are whole HTML documents, without scripts and without references to other files. Thread: any.

std::string signInFormPage(PageLanguage language, const SignInForm& form);
/// The page moves on to `link` by itself, and also has a button for it, because a browser may ask first
/// whether it may open Tarn, and be refused.
std::string signedInPage(PageLanguage language, std::string_view email, std::string_view link);
std::string cancelledPage(PageLanguage language);
/// For a visitor who did not come through Tarn.
std::string strayPage(PageLanguage language);
/// For a visitor on another machine.
std::string elsewherePage(PageLanguage language);

}  // namespace tarn::relay
