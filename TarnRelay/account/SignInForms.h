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
    /// The oldest form makes room for one more: its user is asked to confirm again.
    static constexpr std::size_t maxOpen = 64;
    static constexpr std::chrono::minutes lifetime{10};

    struct Form {
        std::string value;    ///< for the page
        std::string browser;  ///< for the cookie
        Clock::TimePoint opened;
    };

    explicit SignInForms(std::shared_ptr<Clock> clock);

    /// A new form. A browser that already has one open keeps its value, so that two of its pages work side by
    /// side; one that shows a value which is not from here gets a new one. Fails as `randomSecret` does.
    Result<Form> open(std::string_view browser);

    /// True, once, when `value` was opened for `browser` within `lifetime`. A value that was shown with
    /// another browser's is used up, too. Compared in constant time.
    bool take(std::string_view value, std::string_view browser);

private:
    void forgetOld();

    const std::shared_ptr<Clock> clock_;
    std::deque<Form> forms_;  ///< oldest first
};

}  // namespace tarn::relay
