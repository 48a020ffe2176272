#include "URLSchemeHandler.h"

#include <QString>
#include <QUrl>
#include <QUrlQuery>
#include <optional>

#include "Link.h"
#include "TarnApp/server/AccessToken.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

/// Returns the first item of that name; nothing where there is none or it has no value.
std::optional<std::string> queryItem(const QUrl& url, const QString& name) {
    const QUrlQuery query(url);
    for (const auto& [key, value] : query.queryItems(QUrl::FullyDecoded)) {
        if (key == name) {
            return value.isEmpty() ? std::nullopt : std::optional(value.toStdString());
        }
    }
    return std::nullopt;
}

}  // namespace

void URLSchemeHandler::handle(const std::string& text) const {
    if (!isLink(text)) {
        return;
    }
    const QUrl url(QString::fromStdString(text), QUrl::TolerantMode);
    const QString host = url.host().toLower();
    if (host == QLatin1String("login")) {
        const auto token = queryItem(url, QStringLiteral("token"));
        if (token && canBeToken(*token)) {
            signedIn(*token, queryItem(url, QStringLiteral("user_email")));
        }
    } else if (host == QLatin1String("logout")) {
        signedOut();
    } else if (host == QLatin1String("open")) {
        activate();
    } else {
        logLine("[URLScheme] unknown host: " + host.toStdString());
    }
}

void URLSchemeHandler::signedIn(const std::string& token, const std::optional<std::string>& email) const {
    credentials->signIn(token, email);
    if (const auto model = viewModel.lock()) {
        model->handleLoginSucceeded();
    }
    if (const auto follower = onboarding.lock()) {
        follower->setIsLoggedIn(true);
    }
    activate();
}

void URLSchemeHandler::signedOut() const {
    credentials->forget();
    if (const auto model = viewModel.lock()) {
        model->handleLoggedOut();
    }
    if (const auto follower = onboarding.lock()) {
        follower->setIsLoggedIn(false);
    }
    activate();
}

void URLSchemeHandler::activate() const {
    if (bringToFront) {
        bringToFront();
    }
}

}  // namespace tarn
