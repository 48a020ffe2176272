#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarn {

/// What a server says that it can do, by language code. Codes need not be known here.
struct ServerLanguages {
    std::vector<std::string> hears;  ///< empty: not told
    std::map<std::string, std::vector<std::string>>
        translates;  ///< into what, by language heard; empty: not told
    /// Names of voices by language spoken, where told; a language that is missing has none.
    std::optional<std::map<std::string, std::vector<std::string>>> voices;

    bool operator==(const ServerLanguages&) const = default;
};

/// The signed-in user, as the account server knows them. The first two are required in its answer.
struct UserAccount {
    std::string userId;
    std::string email;
    std::optional<ServerLanguages> languages = std::nullopt;

    bool operator==(const UserAccount&) const = default;
};

/// Result of an operation whose answer body is ignored.
struct EmptyResponse {
    bool operator==(const EmptyResponse&) const = default;
};

}  // namespace tarn
