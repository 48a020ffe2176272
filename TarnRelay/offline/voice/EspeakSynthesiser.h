#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Synthesiser.h"
#include "TarnPlatform/process/StopSignal.h"

namespace tarn::relay {

/// Speaks with eSpeak NG, run as a separate program for each text (it needs about 30 ms to start and speak a
/// sentence). Languages and voices are those that the program lists. A language that it lacks, but whose
/// speakers understand another, is spoken with that one (Galician with Portuguese, Occitan with Catalan).
/// Thread: any; texts are spoken side by side.
class EspeakSynthesiser : public Synthesiser {
public:
    /// Asks `program` for its voices. Where it cannot be run, no language is spoken.
    explicit EspeakSynthesiser(std::string program = "espeak-ng",
                               std::chrono::milliseconds limit = std::chrono::seconds(10));

    /// `language`: a code such as "es" or "pt-br"; of a regional one, the language itself will do.
    bool speaks(const std::string& language) const override;
    std::optional<std::vector<std::string>> voices(const std::string& language) const override;

    /// `voice`: a name, a file or a language code of the program's list ("Spanish_(Latin_America)",
    /// "roa/es-419", "es-419"), in any case. A blank text gives no samples. Fails with `invalidInput` for a
    /// text of more than 64 KiB, with `unavailable` for a language that is not spoken, and with `timeout`,
    /// `closed` or `protocol` where the program failed. A program that dies is run once more, because the
    /// sound that it leaves breaks off in mid-sentence.
    Result<Speech> speak(const std::string& text, const std::string& voice,
                         const std::string& language) override;
    void stop() override { stop_->raise(); }

private:
    struct Choice {
        std::string file;  ///< selects the voice on the command line
        int priority;      ///< lower is better
        std::string name;
    };

    Result<Speech> run(const std::string& file, const std::string& text,
                       std::chrono::steady_clock::time_point deadline) const;
    void addVoices(const std::string& table);
    void offer(const std::string& language, const Choice& choice);
    const std::vector<Choice>* choicesFor(const std::string& language) const;

    const std::string program_;
    const std::chrono::milliseconds limit_;
    const std::shared_ptr<StopSignal> stop_ = std::make_shared<StopSignal>();
    std::map<std::string, std::vector<Choice>> languages_;  ///< best first, by code, lower case
    std::map<std::string, std::string> voices_;             ///< files by name, file or code, lower case
};

}  // namespace tarn::relay
