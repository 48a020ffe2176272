#pragma once

#include <filesystem>
#include <memory>

#include "SecretStore.h"

namespace tarn {

/// "$XDG_DATA_HOME/tarn", by default "~/.local/share/tarn".
std::filesystem::path secretsFolder();

/// The store of this desktop: its keyring where one runs on the session bus or can be started by it, else
/// files in `folder`, which is said on standard error. A keyring that is there but locked or hung stays the
/// choice: a secret never goes to a file while there is a keyring. Thread: any; waits for the bus for
/// `SecretServiceStore::defaultLimit` at most.
std::shared_ptr<SecretStore> openSecretStore(const std::filesystem::path& folder = secretsFolder());

/// The process's store, chosen by `openSecretStore` on first use; what it refuses lasts as long as the
/// process. Thread: any.
std::shared_ptr<SecretStore> sharedSecretStore();

/// Uses `store` from now on; none: the desktop's own, chosen on the next use. Thread: any.
void setSharedSecretStore(std::shared_ptr<SecretStore> store);

/// Ends every prompt of a keyring that a call of this process waits for, as if it had been dismissed, and
/// every one that comes: for a process that ends. Thread: any.
void giveUpPrompts();

}  // namespace tarn
