#pragma once

#include "PageLanguage.h"

namespace tarn::relay {

/// The words of the sign-in pages in one language. UTF-8, not yet escaped for HTML.
struct SignInTexts {
    const char* languageTag;  ///< for the "lang" attribute
    const char* title;
    const char* lead;
    const char* permissions;
    const char* permissionTranslate;
    const char* permissionEmail;
    const char* emailLabel;
    const char* emailHint;
    const char* signIn;
    const char* cancel;
    const char* endsAtSignOut;

    const char* errorTitle;  ///< put before the title, so that a screen reader begins with it
    const char* emailError;
    const char* staleError;
    const char* limitError;
    const char* storeError;

    const char* doneTitle;
    const char* doneFor;  ///< the address follows
    const char* doneHint;
    const char* openTarn;

    const char* cancelledTitle;
    const char* cancelledText;
    const char* backToTarn;
    const char* signInAfterAll;

    const char* strayTitle;
    const char* strayText;

    const char* elsewhereTitle;
    const char* elsewhereText;
    const char* elsewhereMake;
    const char* elsewhereUse;
};

const SignInTexts& signInTexts(PageLanguage language);

}  // namespace tarn::relay
