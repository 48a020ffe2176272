#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace tarn {

/// Names one secret.
struct SecretKey {
    std::string service;
    std::string account;
};

enum class SecretFault : std::uint8_t {
    locked,       ///< the store is there, and closed until its user unlocks it
    unavailable,  ///< no store answers under its name
    timedOut,     ///< the store is there and did not answer within the limit
    refused,      ///< the store answered with another error, or holds something that must not be trusted
};

struct SecretError {
    SecretFault fault = SecretFault::refused;
    std::string description;  ///< one line for people; never holds a secret
};

template <typename T>
using SecretResult = std::expected<T, SecretError>;

/// A per-user store of small secrets. Every call waits for the store, at most for the limit that the
/// implementation states.
/// Thread: any, several at once.
class SecretStore {
public:
    virtual ~SecretStore() = default;

    /// The secret's bytes, or nothing where there is no such secret.
    virtual SecretResult<std::optional<std::string>> get(const SecretKey& key) = 0;

    /// As `get`, without ever asking the user: fails with `locked` where only that would help.
    virtual SecretResult<std::optional<std::string>> peek(const SecretKey& key) { return get(key); }

    /// Stores `value` in place of what was there. After a failure the old secret is still there.
    virtual SecretResult<void> replace(const SecretKey& key, std::string_view value) = 0;

    /// True when there was such a secret and it is gone now, false when there was none.
    virtual SecretResult<bool> remove(const SecretKey& key) = 0;
};

}  // namespace tarn
