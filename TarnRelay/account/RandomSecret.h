#pragma once

#include <string>

#include "TarnPlatform/base/Result.h"

namespace tarn::relay {

/// 256 random bits as 43 characters of base64url without padding (RFC 4648 section 5). Fails with `system`
/// when the system gives no random numbers. Thread: any.
Result<std::string> randomSecret();

}  // namespace tarn::relay
