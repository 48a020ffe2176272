#pragma once

#include <optional>
#include <string>

#include "TarnPlatform/secrets/SecretStore.h"

namespace tarn::test {

/// What a store answered, to compare and to print.
inline std::string shown(const SecretResult<std::optional<std::string>>& result) {
    if (!result) {
        return "failure: " + result.error().description;
    }
    return result->value_or("(none)");
}

}  // namespace tarn::test
