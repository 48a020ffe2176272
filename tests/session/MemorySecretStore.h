#pragma once

#include <map>
#include <mutex>

#include "TarnPlatform/secrets/SecretStore.h"

namespace tarn::test {

/// Secrets of one test's own. Thread: any.
class MemorySecretStore final : public SecretStore {
public:
    SecretResult<std::optional<std::string>> get(const SecretKey& key) override {
        const std::lock_guard lock(mutex_);
        const auto found = secrets_.find(key.account);
        return found == secrets_.end() ? std::nullopt : std::optional(found->second);
    }
    SecretResult<void> replace(const SecretKey& key, std::string_view value) override {
        const std::lock_guard lock(mutex_);
        if (isFull) {
            return std::unexpected(SecretError{SecretFault::refused, "full"});
        }
        secrets_[key.account] = value;
        return {};
    }
    SecretResult<bool> remove(const SecretKey& key) override {
        const std::lock_guard lock(mutex_);
        return secrets_.erase(key.account) != 0;
    }

    bool isFull = false;

private:
    std::mutex mutex_;
    std::map<std::string, std::string> secrets_;
};

}  // namespace tarn::test
