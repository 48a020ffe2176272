#pragma once

#include <functional>
#include <memory>
#include <string>

#include "IssueLimit.h"
#include "SignInForms.h"
#include "SignInPage.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/webserver/HttpServer.h"

namespace tarn::relay {

/// The sign-in page: a form that names the account, the user's consent, and a page that carries a new token
/// to Tarn through a "tarn:" link. The token stands in that one answer and nowhere else.
///
/// Only a consent that comes from the page itself makes a token: see `SignInForms` for the one-time value,
/// and `RequestCheck` for requests that are refused before they come here. Every link leads to Tarn alone,
/// whatever the query says.
///
/// Thread: the network's executor.
class SignInRoutes {
public:
    /// Makes a token for a valid address.
    using Issue = std::function<Task<Result<std::string>>(std::string email)>;

    /// `suggestedEmail` stands in the field at first; may be empty.
    SignInRoutes(const std::shared_ptr<Clock>& clock, std::string suggestedEmail, Issue issue);

    /// Answers any method for the page with this (still encoded) query. `fromThisMachine`: whether the
    /// request may be given a token at all. This object outlives the answer.
    Task<ServerResponse> answer(ServerRequest request, std::string query, bool fromThisMachine);

private:
    ServerResponse formPage(const ServerRequest& request, int status, std::string email, SignInNotice notice);
    Task<ServerResponse> consent(ServerRequest request);
    Task<ServerResponse> issueToken(ServerRequest request, std::string email);

    const std::string suggestedEmail_;
    const Issue issue_;
    SignInForms forms_;
    IssueLimit limit_;
};

}  // namespace tarn::relay
