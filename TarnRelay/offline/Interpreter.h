#pragma once

#include <boost/asio/strand.hpp>
#include <boost/json/object.hpp>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "StreamOutlet.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnRelay/offline/speech/StableText.h"
#include "TarnRelay/offline/translate/Translator.h"
#include "TarnRelay/offline/voice/Synthesiser.h"

namespace tarn::relay {

/// Translates and speaks one client's utterances, in order, on a worker.
///
/// A finished utterance is never skipped, unless more than `longestQueue` of them wait. Of an utterance under
/// way only the newest text is translated, and only while no finished one waits, so that a slow translator
/// delays nothing. After a failure only a finished utterance tries the translator again. Thread: any; the
/// work itself is serialised.
class Interpreter : public std::enable_shared_from_this<Interpreter> {
public:
    static constexpr std::size_t longestQueue = 64;

    struct Job {
        std::shared_ptr<Translator> translator;
        std::shared_ptr<Synthesiser> synthesiser;
        std::string source;
        std::string target;  ///< where it is the same as `source`, the text is spoken as it is
        std::string voice;   ///< empty for the language's default
        std::shared_ptr<const void> hold = nullptr;  ///< keeps the translator's programs for the pair running
    };

    /// `workers`: where blocking calls may be made; outlives the interpreter.
    Interpreter(Job job, std::shared_ptr<StreamOutlet> outlet, const asio::any_io_executor& workers);

    /// Starts the translator before the first sentence comes.
    void warmUp();
    /// `utterance`: its number, which counts up.
    void hearPartial(std::uint64_t utterance, std::string text);
    void hearFinal(std::uint64_t utterance, std::string text);

private:
    struct Sentence {
        std::uint64_t utterance = 0;
        std::string text;
    };

    void work();
    void interpretPartial(const Sentence& sentence);
    void interpretFinal(const Sentence& sentence);
    Result<std::string> translate(const std::string& text);
    void speak(const std::string& text, const std::string& response);
    void beginResponse(std::uint64_t utterance);

    const Job job_;
    const std::shared_ptr<StreamOutlet> outlet_;
    asio::strand<asio::any_io_executor> strand_;

    std::mutex mutex_;  ///< guards the next three
    std::deque<Sentence> finals_;
    std::optional<Sentence> partial_;
    bool toldDropped_ = false;

    // Strand only.
    std::uint64_t begun_ = 0;  ///< the utterance whose response has been announced
    StableText stable_;
    std::string lastPartial_;
    bool failing_ = false;  ///< the last text could not be translated
    bool toldMute_ = false;
};

}  // namespace tarn::relay
