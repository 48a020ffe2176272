#pragma once

#include <cstddef>
#include <filesystem>

#include "SecretStore.h"

namespace tarn {

/// Secrets as files of mode 0600, one each, in a folder of mode 0700, for a machine without a secret service.
///
/// A file is replaced in one step (written beside, synced, renamed), so that a crash leaves the old secret or
/// the new one. What somebody else could have read or planted is refused, not read: a symbolic link, a file
/// or folder of another owner, a file that others may open. No call waits for anything but the disk.
class FileSecretStore final : public SecretStore {
public:
    static constexpr std::size_t maxSecretBytes = std::size_t{64} * 1024;

    /// `folder` is made on the first `replace`, and its missing parents with it.
    explicit FileSecretStore(std::filesystem::path folder);

    SecretResult<std::optional<std::string>> get(const SecretKey& key) override;
    SecretResult<void> replace(const SecretKey& key, std::string_view value) override;
    SecretResult<bool> remove(const SecretKey& key) override;

    /// Where a secret is kept: "service.account", other bytes than letters, digits, ".", "_" and "-" as
    /// "%XX".
    std::filesystem::path pathOf(const SecretKey& key) const;

private:
    std::filesystem::path folder_;
};

}  // namespace tarn
