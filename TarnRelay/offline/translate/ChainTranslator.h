#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Translator.h"

namespace tarn::relay {

/// Adds to another translator's pairs those that it can do in several steps (English to Spanish, Spanish to
/// Portuguese), by the shortest way of at most three. The first text of such a pair is announced in the log,
/// once, since every step adds mistakes of its own. A language to itself gives the text unchanged; such pairs
/// work for every language and are not listed. Thread: any.
class ChainTranslator : public Translator {
public:
    /// The direct pairs are read once, here.
    explicit ChainTranslator(std::unique_ptr<Translator> direct);

    std::vector<std::pair<std::string, std::string>> pairs() const override;
    Result<std::string> translate(const std::string& text, const std::string& source,
                                  const std::string& target) override;
    std::shared_ptr<const void> hold(const std::string& source, const std::string& target) const override;
    std::optional<Clock::Duration> endIdle(Clock::Duration limit) override { return direct_->endIdle(limit); }
    void stop() override { direct_->stop(); }

private:
    using Pair = std::pair<std::string, std::string>;

    struct Way {
        explicit Way(std::vector<std::string> passed) : languages(std::move(passed)) {}
        std::vector<std::string> languages;  ///< both ends included
        std::atomic<bool> announced = false;
    };

    const std::unique_ptr<Translator> direct_;
    std::map<Pair, Way> ways_;
};

}  // namespace tarn::relay
