#pragma once

#include <map>
#include <mutex>
#include <utility>

#include "SecretStore.h"

namespace tarn {

/// Keeps secrets as long as the object lives. Thread: any.
class MemorySecretStore : public SecretStore {
public:
    SecretResult<std::optional<std::string>> get(const SecretKey& key) override {
        const std::lock_guard lock(mutex_);
        const auto found = secrets_.find({key.service, key.account});
        return found == secrets_.end() ? std::nullopt : std::optional(found->second);
    }
    SecretResult<void> replace(const SecretKey& key, std::string_view value) override {
        const std::lock_guard lock(mutex_);
        secrets_[{key.service, key.account}] = value;
        return {};
    }
    SecretResult<bool> remove(const SecretKey& key) override {
        const std::lock_guard lock(mutex_);
        return secrets_.erase({key.service, key.account}) > 0;
    }

private:
    std::mutex mutex_;
    std::map<std::pair<std::string, std::string>, std::string> secrets_;
};

}  // namespace tarn
