#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/base/Result.h"

namespace tarn::relay {

/// The consent forms that are open in browsers. Each carries a random value that only its page knows, bound
/// to a second one that only its browser knows (a cookie), so that no other page can consent in the user's
/// name. Both are `randomSecret`s. Thread: one.
class SignInForms {
public:
    /// Beyond this many the oldest form is dropped, whose user is asked to confirm again.
    static constexpr std::size_t maxOpen = 64;
    static constexpr std::chrono::minutes lifetime{10};

    struct Form {
        std::string value;    ///< for the page
        std::string browser;  ///< for the cookie
        Clock::TimePoint opened;
    };

    explicit SignInForms(std::shared_ptr<Clock> clock);

    /// Makes a new form. A browser that has one open keeps its cookie's value, so that two of its pages work
    /// side by side; a cookie that was not made here is replaced. Fails as `randomSecret` does.
    Result<Form> open(std::string_view browser);

    /// True, once, when `value` was opened for `browser` within `lifetime`. A value that comes with another
    /// browser's cookie is used up, too. Values are compared in constant time.
    bool take(std::string_view value, std::string_view browser);

private:
    void forgetOld();

    const std::shared_ptr<Clock> clock_;
    std::deque<Form> forms_;  ///< oldest first
};

}  // namespace tarn::relay
