#pragma once

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "Interpreter.h"
#include "StreamOutlet.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnRelay/offline/speech/Recogniser.h"
#include "TarnRelay/offline/speech/StableText.h"

namespace tarn::relay {

/// Recognises one client's speech on a worker, sends the text to the client and passes it to the interpreter.
///
/// Time is counted in received sound: an utterance ends after silence that was received, not after a pause in
/// the sending. Sound that the recogniser cannot keep up with waits in memory; the caller is expected to wait
/// for `readyForMore`. Sound beyond the limit is dropped as it comes, while the sound that waits already is
/// kept. The workers take a tenth of a second of sound at a time, so that the clients take turns. Thread:
/// any; the work itself is serialised.
class Listener : public std::enable_shared_from_this<Listener> {
public:
    struct Limits {
        double heldSeconds = 5;      ///< of waiting sound, above which no more is asked for
        double behindSeconds = 5;    ///< of waiting sound, above which the client is told, once, unless it
                                     ///< sends faster than anyone speaks
        double longestSeconds = 60;  ///< of waiting sound
    };

    /// `workers`: where the recogniser may take its time; outlives the listener.
    Listener(std::shared_ptr<RecogniserFactory> recognisers, std::string language, int silenceMs,
             Limits limits, std::shared_ptr<StreamOutlet> outlet, std::shared_ptr<Interpreter> interpreter,
             const asio::any_io_executor& workers);

    /// Makes the recogniser before the first sound comes.
    void warmUp();
    void hear(std::span<const std::int16_t> samples);
    /// Waits while enough sound waits, a second at most. Thread: a serial executor, one call at a time.
    Task<void> readyForMore();
    /// Drops the sound that waits and destroys the recogniser, on the worker. The outlet must be shut before.
    void stop();

private:
    bool makeRecogniser();
    void scheduleWork();
    void work();
    void workLater();
    void lookLater();
    std::vector<std::int16_t> nextStep();
    bool isHeld() const;
    bool isBehind() const;
    void recognise(const std::vector<std::int16_t>& samples);
    void beginUtterance();
    void hypothesis(Hypothesis heard);
    void showPartial(const std::string& text);
    void endUtterance(std::string text);
    std::int64_t milliseconds() const;

    const std::shared_ptr<RecogniserFactory> recognisers_;
    const std::string language_;
    const int silenceMs_;
    const Limits limits_;
    const std::shared_ptr<StreamOutlet> outlet_;
    const std::shared_ptr<Interpreter> interpreter_;
    asio::strand<asio::any_io_executor> strand_;

    std::mutex mutex_;  ///< guards the next eight
    std::deque<std::vector<std::int16_t>> waiting_;
    std::size_t waitingSamples_ = 0;
    std::chrono::steady_clock::time_point heardAt_;  ///< when the last sound came
    double early_ = 0;                               ///< seconds of sound that came ahead of its time
    bool working_ = false;                           ///< `work` is posted, or runs
    std::shared_ptr<asio::steady_timer> room_;  ///< cancelled to end the wait of `readyForMore`; null if none
    bool toldBehind_ = false;
    bool toldDropped_ = false;

    // Strand only.
    std::unique_ptr<Recogniser> recogniser_;
    bool looking_ = false;         ///< `lookLater` is under way
    bool unusable_ = false;        ///< no recogniser could be made
    bool toldFailure_ = false;     ///< nothing was heard since the last failure that was reported
    std::uint64_t position_ = 0;   ///< samples recognised
    std::uint64_t utterance_ = 0;  ///< counts up; 0 before the first
    bool inUtterance_ = false;
    bool shown_ = false;            ///< a partial text of this utterance was sent
    std::uint64_t translated_ = 0;  ///< position when a partial text was last passed on
    StableText stable_;
};

}  // namespace tarn::relay
