#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Result.h"

namespace tarn::relay {

/// 256 random bits as 43 characters of base64url without padding (RFC 4648 section 5). Fails with `system`
/// when the system gives no random numbers. Thread: any.
Result<std::string> randomSecret();

/// The relay keeps this hash of a token and never the token itself.
using TokenHash = std::array<unsigned char, 32>;  ///< SHA-256

struct Account {
    std::string userId;
    std::string email;
    TokenHash token{};  ///< of the token that was shown
};

/// The access tokens of this machine's relay, in one file of mode 0600 that several processes may change at
/// once: `tarn-relay issue-token` and a running relay, say. A file or folder that another user owns or may
/// change is refused with `system`: who can write there can make tokens.
class TokenRegistry {
public:
    /// `folder` is made, with mode 0700 as all that leads to it, when a token is first issued.
    explicit TokenRegistry(std::filesystem::path folder);

    /// `$XDG_STATE_HOME/tarn/relay`, by default under `~/.local/state`.
    static std::filesystem::path defaultFolder();

    // The following calls change the file. Thread: any; each waits for other processes' changes, 5 s at most,
    // and then fails with `timeout`. Where the file cannot be understood they fail with `system` and leave it
    // alone.

    /// Makes a new random token of 256 bits (base64url). The 32 newest of an address are kept. Fails with
    /// `invalidInput` for a text that is not an e-mail address by `isEmailAddress`.
    Result<std::string> issue(const std::string& email) const;
    /// Ends every token of `email` and returns how many there were.
    Result<std::size_t> revoke(const std::string& email) const;
    /// Ends one token, where it exists.
    Result<void> revokeToken(const TokenHash& token) const;

    struct Issued {
        std::string email;
        std::string time;  ///< UTC, ISO 8601
    };
    /// Every token in the file, in the order of issue. Thread: any.
    Result<std::vector<Issued>> list() const;

    // The following calls are for a running relay. Thread: one.

    /// Reads the file if it has changed since; true when it was read. Without a file there are no tokens.
    /// After a failure the last good state stays.
    Result<bool> refresh();
    /// The account of a token, by the state last read. Every stored hash is compared, each in constant time.
    std::optional<Account> find(const std::string& token) const;
    bool holds(const TokenHash& token) const;

    /// Calls `changed` whenever the file may have changed, until cancelled or until the folder cannot be
    /// watched, which is logged. The folder is made if need be. Thread: the caller's executor.
    Task<void> watch(std::function<void()> changed) const;

private:
    struct Entry {
        TokenHash hash{};
        std::string email;
        std::string issued;  ///< UTC, ISO 8601
        bool operator==(const Entry&) const = default;
    };
    /// Tells one version of the file from another. All fields are zero where there is no file.
    struct Version {
        std::uint64_t inode = 0;
        std::int64_t seconds = 0;
        std::int64_t nanoseconds = 0;
        std::int64_t size = 0;
        bool operator==(const Version&) const = default;
    };

    std::filesystem::path file() const { return folder_ / "tokens.json"; }
    Result<std::vector<Entry>> read(Version& version) const;
    Result<void> write(const std::vector<Entry>& entries) const;
    Result<void> change(const std::function<void(std::vector<Entry>&)>& edit) const;
    Result<void> checkFolder() const;
    static Account accountOf(const Entry& entry);

    const std::filesystem::path folder_;
    std::vector<Entry> entries_;
    std::optional<Version> version_;  ///< empty until the file was read
};

}  // namespace tarn::relay
