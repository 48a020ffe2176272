#pragma once

#include <string>

namespace tarn {

/// The signed-in user, as the account server knows them. Both fields are required in its answer.
struct UserAccount {
    std::string userId;
    std::string email;

    bool operator==(const UserAccount&) const = default;
};

/// Result of an operation whose answer body is ignored.
struct EmptyResponse {
    bool operator==(const EmptyResponse&) const = default;
};

}  // namespace tarn
