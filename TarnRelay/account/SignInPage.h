#pragma once

#include <string>
#include <string_view>

#include "PageLanguage.h"

namespace tarn::relay {

/// Where the sign-in page is, as Tarn opens it.
inline constexpr std::string_view signInPath = "/auth?return_to=macos";

/// What the form has to say about the attempt before.
enum class SignInNotice : unsigned char { none, badEmail, stale, tooMany, notStored };

struct SignInForm {
    std::string value;  ///< the form's one-time value
    std::string email;  ///< stands in the field; any text
    SignInNotice notice = SignInNotice::none;
};

// Whole HTML documents without scripts and without anything from elsewhere. Thread: any.

std::string signInFormPage(PageLanguage language, const SignInForm& form);
/// Moves on to `link` by itself, and has it to press as well: a browser may have asked first and been
/// refused.
std::string signedInPage(PageLanguage language, std::string_view email, std::string_view link);
std::string cancelledPage(PageLanguage language);
/// For who came here in another way than through Tarn.
std::string strayPage(PageLanguage language);
/// For who asks from another machine.
std::string elsewherePage(PageLanguage language);

/// `text` as it may stand in HTML text and in quoted attributes.
std::string htmlEscaped(std::string_view text);

}  // namespace tarn::relay
