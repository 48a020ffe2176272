#pragma once

#include <functional>
#include <optional>
#include <string>

#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/secrets/SecretStore.h"

namespace tarn {

/// An access token, nothing when signed out, or why it cannot be told.
using TokenResult = SecretResult<std::optional<std::string>>;

/// Asks for the access token of this moment, on the executor of the caller, who may wait for a keyring.
using PatProvider = std::function<Task<TokenResult>()>;

/// Gives `token` every time.
PatProvider fixedPat(std::optional<std::string> token);

}  // namespace tarn
