#pragma once

#include "TarnPlatform/secrets/MemorySecretStore.h"

namespace tarn::test {

/// Secrets of one test's own, which it may not be able to store or read. Thread: any but for its fields.
class MemorySecretStore final : public tarn::MemorySecretStore {
public:
    SecretResult<std::optional<std::string>> get(const SecretKey& key) override {
        if (fault) {
            return std::unexpected(SecretError{*fault, "the keyring has a fault"});
        }
        return tarn::MemorySecretStore::get(key);
    }
    SecretResult<bool> remove(const SecretKey& key) override {
        if (fault) {
            return std::unexpected(SecretError{*fault, "the keyring has a fault"});
        }
        return tarn::MemorySecretStore::remove(key);
    }
    SecretResult<void> replace(const SecretKey& key, std::string_view value) override {
        if (isFull) {
            return std::unexpected(SecretError{SecretFault::refused, "full"});
        }
        return tarn::MemorySecretStore::replace(key, value);
    }

    bool isFull = false;
    std::optional<SecretFault> fault;
};

}  // namespace tarn::test
