#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <tuple>
#include <utility>

#include "SecretStore.h"
#include "TarnPlatform/base/Log.h"

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

/// A store whose refusals lose nothing while the process lives: a secret that `lasting` does not take is kept
/// in memory until it does, is removed, or the process ends. What `lasting` answers is answered all the same,
/// but for `get`. Thread: any.
class LastingSecretStore final : public SecretStore {
public:
    explicit LastingSecretStore(std::shared_ptr<SecretStore> lasting) : lasting_(std::move(lasting)) {}

    SecretResult<std::optional<std::string>> get(const SecretKey& key) override {
        auto kept = refused_.get(key);
        return *kept ? std::move(kept) : lasting_->get(key);
    }
    SecretResult<std::optional<std::string>> peek(const SecretKey& key) override {
        auto kept = refused_.get(key);
        return *kept ? std::move(kept) : lasting_->peek(key);
    }
    SecretResult<void> replace(const SecretKey& key, std::string_view value) override {
        auto stored = lasting_->replace(key, value);
        if (stored) {
            std::ignore = refused_.remove(key);
        } else {
            logLine("[secrets] what could not be stored is kept until the program ends");
            std::ignore = refused_.replace(key, value);
        }
        return stored;
    }
    SecretResult<bool> remove(const SecretKey& key) override {
        const bool wasKept = *refused_.remove(key);
        auto removed = lasting_->remove(key);
        if (removed && wasKept) {
            return true;
        }
        return removed;
    }

private:
    const std::shared_ptr<SecretStore> lasting_;
    MemorySecretStore refused_;
};

}  // namespace tarn
