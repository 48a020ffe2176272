#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "TarnPlatform/process/ChildConversation.h"
#include "Translator.h"

namespace tarn::relay {

/// The pairs that Apertium's installed packages translate directly, each by one pipeline of its programs that
/// is started with the first text and then kept until it is idle (an answer takes a few milliseconds, loading
/// up to half a second, so translate an empty text to have a pair ready).
///
/// Words that Apertium does not know stay as they are, without marks. The result begins with a capital letter
/// whatever the case of the text, since recognisers write everything small; runs of spaces become one; no
/// punctuation is added.
///
/// Language codes are the two-letter ones where there is one ("en" for Apertium's "eng"), else Apertium's own
/// ("hbs"); the regional modes of hbs are "hr", "bs" and "sr".
///
/// A pipeline that dies is started again within the call; one that gives no answer in time is ended and costs
/// the call. Thread: any; texts of one pair wait for each other.
class ApertiumTranslator : public Translator {
public:
    explicit ApertiumTranslator(const std::filesystem::path& modes = "/usr/share/apertium/modes",
                                std::chrono::milliseconds limit = std::chrono::seconds(5),
                                std::shared_ptr<Clock> clock = Clock::system());

    std::vector<std::pair<std::string, std::string>> pairs() const override;

    /// Fails with `invalidInput` for a text that is not UTF-8 or has more than 64 KiB, with `unavailable` for
    /// a pair that is not installed, and with `timeout`, `closed` or `protocol` where the pipeline failed.
    Result<std::string> translate(const std::string& text, const std::string& source,
                                  const std::string& target) override;
    std::shared_ptr<const void> hold(const std::string& source, const std::string& target) const override;
    std::optional<Clock::Duration> endIdle(Clock::Duration limit) override;
    void stop() override;

private:
    std::map<std::pair<std::string, std::string>, std::unique_ptr<ChildConversation>> pipelines_;
};

}  // namespace tarn::relay
