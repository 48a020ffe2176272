#include "SignInPage.h"

#include <initializer_list>

#include "SignInStyle.h"
#include "SignInTexts.h"

namespace tarn::relay {
namespace {

/// The mark above the heading: a lake among mountains.
constexpr std::string_view mark =
    R"(<svg class="mark" viewBox="0 0 48 48" fill="none" stroke="currentColor" stroke-width="3" )"
    R"(stroke-linecap="round" stroke-linejoin="round" aria-hidden="true" focusable="false">)"
    R"(<path d="M4 27 17 8l8 12 5-7 14 14"/><path d="M8 35q4-3.5 8 0t8 0 8 0 8 0"/><path d="M16 43q4-3.5 8 0t8 0"/>)"
    R"(</svg>)";

std::string joined(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const auto part : parts) {
        text += part;
    }
    return text;
}

/// `text` as it may stand in HTML text and in quoted attributes.
std::string htmlEscaped(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\'':
                escaped += "&#39;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

std::string document(const SignInTexts& texts, std::string_view title, std::string_view head,
                     std::string_view body) {
    return joined({R"(<!DOCTYPE html>
<html lang=")",
                   texts.languageTag, R"(">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<title>)",
                   title, "</title>\n", head, "<style>", signInStyle(), "</style>\n</head>\n<body>\n<main>\n",
                   mark, "\n", body, "</main>\n</body>\n</html>\n"});
}

/// A page without a form: heading, text, and `rest` below.
std::string notice(const SignInTexts& texts, const char* title, const char* text, std::string_view rest) {
    const auto body =
        joined({"<h1>", htmlEscaped(title), "</h1>\n<p class=\"lead\">", htmlEscaped(text), "</p>\n", rest});
    return document(texts, htmlEscaped(title), {}, body);
}

/// The message above the form, or null. A message about the address stands at its field instead.
const char* alertText(const SignInTexts& texts, SignInNotice notice) {
    switch (notice) {
        case SignInNotice::stale:
            return texts.staleError;
        case SignInNotice::tooMany:
            return texts.limitError;
        case SignInNotice::notStored:
            return texts.storeError;
        case SignInNotice::none:
        case SignInNotice::badEmail:
            break;
    }
    return nullptr;
}

}  // namespace

std::string signInFormPage(PageLanguage language, const SignInForm& form) {
    const auto& texts = signInTexts(language);
    const bool badEmail = form.notice == SignInNotice::badEmail;
    const auto* const alert = alertText(texts, form.notice);
    auto title = htmlEscaped(texts.title);
    if (badEmail || alert != nullptr) {
        title = htmlEscaped(texts.errorTitle) + ": " + title;
    }
    std::string body = joined(
        {"<h1>", htmlEscaped(texts.title), "</h1>\n<p class=\"lead\">", htmlEscaped(texts.lead), "</p>\n"});
    if (alert != nullptr) {
        body += joined({R"(<p class="alert" role="alert">)", htmlEscaped(alert), "</p>\n"});
    }
    body += joined({R"(<p class="say" id="permissions">)", htmlEscaped(texts.permissions),
                    R"(</p>
<ul aria-labelledby="permissions">
<li>)",
                    htmlEscaped(texts.permissionTranslate), "</li>\n<li>", htmlEscaped(texts.permissionEmail),
                    R"(</li>
</ul>
<form method="post" action=")",
                    signInPath, R"(" novalidate>
<input type="hidden" name="consent" value=")",
                    htmlEscaped(form.value), R"(">
<label for="email">)",
                    htmlEscaped(texts.emailLabel),
                    R"(</label>
<input type="email" id="email" name="email" autocomplete="email" maxlength="254" spellcheck="false" required value=")",
                    htmlEscaped(form.email), R"(" aria-describedby=")", badEmail ? "email-error " : "",
                    R"(email-hint")", badEmail ? R"( aria-invalid="true" autofocus)" : "", ">\n"});
    if (badEmail) {
        body += joined(
            {R"(<p class="error" id="email-error" role="alert">)", htmlEscaped(texts.emailError), "</p>\n"});
    }
    // Enter in the field presses the form's first button, so that must be the one that signs in.
    body += joined({R"(<p class="hint" id="email-hint">)", htmlEscaped(texts.emailHint), R"(</p>
<div class="actions">
<button class="primary" name="answer" value="allow">)",
                    htmlEscaped(texts.signIn), R"(</button>
<button name="answer" value="cancel">)",
                    htmlEscaped(texts.cancel), R"(</button>
</div>
</form>
<p class="foot">)",
                    htmlEscaped(texts.endsAtSignOut), "</p>\n"});
    return document(texts, title, {}, body);
}

std::string signedInPage(PageLanguage language, std::string_view email, std::string_view link) {
    const auto& texts = signInTexts(language);
    const auto target = htmlEscaped(link);
    const auto head = joined({R"(<meta http-equiv="refresh" content="0; url=)", target, "\">\n"});
    const auto body = joined({"<h1>", htmlEscaped(texts.doneTitle), "</h1>\n<p class=\"lead\">",
                              htmlEscaped(texts.doneFor), R"( <span class="name">)", htmlEscaped(email),
                              R"(</span></p>
<div class="actions">
<a class="button primary" href=")",
                              target, R"(" autofocus>)", htmlEscaped(texts.openTarn), R"(</a>
</div>
<p class="foot">)",
                              htmlEscaped(texts.doneHint), "</p>\n"});
    return document(texts, htmlEscaped(texts.doneTitle), head, body);
}

std::string cancelledPage(PageLanguage language) {
    const auto& texts = signInTexts(language);
    const auto actions = joined({R"(<div class="actions">
<a class="button primary" href="tarn://open">)",
                                 htmlEscaped(texts.backToTarn), R"(</a>
<a class="button" href=")",
                                 signInPath, R"(">)", htmlEscaped(texts.signInAfterAll), "</a>\n</div>\n"});
    return notice(texts, texts.cancelledTitle, texts.cancelledText, actions);
}

std::string strayPage(PageLanguage language) {
    const auto& texts = signInTexts(language);
    return notice(texts, texts.strayTitle, texts.strayText, {});
}

std::string elsewherePage(PageLanguage language) {
    const auto& texts = signInTexts(language);
    const auto commands =
        joined({"<dl>\n<dt>", htmlEscaped(texts.elsewhereMake),
                "</dt>\n<dd><code>tarn-relay issue-token name@example.org</code></dd>\n<dt>",
                htmlEscaped(texts.elsewhereUse),
                "</dt>\n<dd><code>tarn-cli login --token-stdin</code></dd>\n</dl>\n"});
    return notice(texts, texts.elsewhereTitle, texts.elsewhereText, commands);
}

}  // namespace tarn::relay
