#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "SignInForms.h"
#include "SignInPage.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/webserver/HttpServer.h"

namespace tarn::relay {

/// Limits how fast tokens are made: `burst` at once, and one more for each `pause` that has passed since (a
/// token bucket, kept as the time at which it is full again). Thread: one.
class IssueLimit {
public:
    static constexpr int burst = 10;
    static constexpr std::chrono::seconds pause{6};

    explicit IssueLimit(std::shared_ptr<Clock> clock) : clock_(std::move(clock)), fullAt_(clock_->now()) {}

    /// True where a token may be made now, which is then counted; false where there were too many.
    bool take() {
        const auto now = clock_->now();
        const auto next = std::max(fullAt_, now) + pause;
        if (next - now > burst * pause) {
            return false;
        }
        fullAt_ = next;
        return true;
    }

private:
    const std::shared_ptr<Clock> clock_;
    Clock::TimePoint fullAt_;
};

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
