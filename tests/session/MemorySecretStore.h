#pragma once

#include "TarnPlatform/secrets/MemorySecretStore.h"

namespace tarn::test {

/// Secrets of one test's own, which it may not be able to store. Thread: any but for `isFull`.
class MemorySecretStore final : public tarn::MemorySecretStore {
public:
    SecretResult<void> replace(const SecretKey& key, std::string_view value) override {
        if (isFull) {
            return std::unexpected(SecretError{SecretFault::refused, "full"});
        }
        return tarn::MemorySecretStore::replace(key, value);
    }

    bool isFull = false;
};

}  // namespace tarn::test
