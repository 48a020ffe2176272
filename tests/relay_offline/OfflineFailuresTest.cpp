// What clients see when a part of the engine fails or cannot keep up.

#include <gmock/gmock.h>

#include <functional>
#include <future>
#include <mutex>
#include <thread>

#include "EventLog.h"
#include "SpokenText.h"
#include "TarnRelay/offline/OfflineEngine.h"

namespace tarn::relay {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Process = std::function<Result<void>(std::span<const std::int16_t>, std::vector<Hypothesis>&)>;

/// Hears what a test says. It is in speech from a partial text to the final one.
class ToldRecogniser : public Recogniser {
public:
    explicit ToldRecogniser(Process process) : process_(std::move(process)) {}
    Result<void> process(std::span<const std::int16_t> samples, std::vector<Hypothesis>& heard) override {
        if (samples.empty()) {
            return {};  // only to get ready
        }
        auto done = process_(samples, heard);
        if (!heard.empty()) {
            inSpeech_ = !heard.back().final;
        }
        inSpeech_ = inSpeech_ && done;
        return done;
    }
    bool inSpeech() const override { return inSpeech_; }

private:
    const Process process_;
    bool inSpeech_ = false;
};

class ToldRecognisers : public RecogniserFactory {
public:
    explicit ToldRecognisers(Process process) : process_(std::move(process)) {}
    std::vector<std::string> languages() const override { return {"en"}; }
    Result<std::unique_ptr<Recogniser>> make(const std::string&, int) override {
        if (!process_) {
            return failure(ErrorKind::unavailable, "the model is gone");
        }
        return std::make_unique<ToldRecogniser>(process_);
    }

private:
    const Process process_;
};

/// "es" is the text in brackets. "bad" cannot be translated.
class BracketTranslator : public Translator {
public:
    std::vector<std::pair<std::string, std::string>> pairs() const override {
        return {{"en", "es"}, {"en", "gl"}};
    }
    Result<std::string> translate(const std::string& text, const std::string&, const std::string&) override {
        if (text == "bad") {
            return failure(ErrorKind::closed, "the translator died");
        }
        return "<" + text + ">";
    }
};

/// 100 ms of sound for each text, a minute more for "<endless>". "<mute>" cannot be spoken.
class BeepSynthesiser : public Synthesiser {
public:
    bool speaks(const std::string& language) const override { return language == "es"; }
    Result<Speech> speak(const std::string& text, const std::string&, const std::string&) override {
        if (text == "<mute>") {
            return failure(ErrorKind::timeout, "the voice does not answer");
        }
        const std::size_t seconds = text == "<endless>" ? 61 : 0;
        return Speech{.rate = 24000, .samples = std::vector<std::int16_t>(24000 * seconds + 2400, 1000)};
    }
};

class OfflineFailures : public testing::Test {
protected:
    /// A stream whose recogniser does `process` with each 50 ms.
    void open(Process process, const std::string& target = "es", Listener::Limits limits = {}) {
        engine_ = std::make_unique<OfflineEngine>(
            OfflineEngine::Parts{.recognisers = std::make_shared<ToldRecognisers>(std::move(process)),
                                 .translator = std::make_shared<BracketTranslator>(),
                                 .synthesiser = std::make_shared<BeepSynthesiser>()},
            OfflineEngine::Limits{.maxStreams = 1, .listener = limits});
        auto opened = engine_->open({.target = target, .source = {}, .voice = {}, .silenceMs = {}}, log_);
        ASSERT_TRUE(opened) << opened.error().message;
        stream_ = std::move(*opened);
    }

    /// A stream that hears one text after another, each final at once, an empty one without a partial before.
    void openHearing(std::vector<std::string> texts, const std::string& target = "es") {
        auto next = std::make_shared<std::size_t>(0);
        open(
            [texts = std::move(texts), next](auto, std::vector<Hypothesis>& heard) -> Result<void> {
                if (*next < texts.size()) {
                    heard.push_back({.text = texts[(*next)++], .final = true});
                }
                return {};
            },
            target);
    }

    void sayPieces(int pieces) { say(*stream_, silence(0.05 * pieces)); }

    std::vector<std::string> complaints() const { return log_->all(events::tarnError, "error"); }
    std::vector<std::string> translations() const { return log_->all(events::translationDone, "transcript"); }

    const std::shared_ptr<EventLog> log_ = std::make_shared<EventLog>();
    std::unique_ptr<OfflineEngine> engine_;
    std::unique_ptr<EngineStream> stream_;
};

TEST_F(OfflineFailures, CostOneSentenceWhereTheTranslatorFails) {
    openHearing({"one", "bad", "three"});
    sayPieces(3);
    ASSERT_TRUE(log_->waitFor(events::responseDone, 3));
    EXPECT_THAT(complaints(), ElementsAre("a sentence could not be translated: the translator died"));
    EXPECT_THAT(log_->all(events::sourceCompleted, "transcript"), ElementsAre("one", "bad", "three"));
    EXPECT_THAT(translations(), ElementsAre("<one>", "<three>"));
    EXPECT_EQ(log_->all(events::audioDelta, "delta").size(), 2);
}

TEST_F(OfflineFailures, CostOneSentencesVoiceWhereTheSynthesiserFails) {
    openHearing({"mute", "endless", "two"});
    sayPieces(3);
    ASSERT_TRUE(log_->waitFor(events::responseDone, 3));
    EXPECT_THAT(complaints(), ElementsAre("a sentence could not be spoken: the voice does not answer",
                                          "a sentence could not be spoken: it takes longer than a minute"));
    EXPECT_THAT(translations(), ElementsAre("<mute>", "<endless>", "<two>"));
    EXPECT_EQ(log_->all(events::audioDelta, "delta").size(), 1);
}

TEST_F(OfflineFailures, AreSaidOnceForALanguageWithoutAVoice) {
    openHearing({"one", "two"}, "gl");
    sayPieces(2);
    ASSERT_TRUE(log_->waitFor(events::responseDone, 2));
    EXPECT_THAT(complaints(), ElementsAre("no voice speaks gl here: the translation is shown only"));
    EXPECT_THAT(translations(), ElementsAre("<one>", "<two>"));
}

TEST_F(OfflineFailures, EndTheUtteranceAndAreSaidOnceUntilSomethingIsHeardAgain) {
    auto calls = std::make_shared<int>(0);
    open([calls](auto, std::vector<Hypothesis>& heard) -> Result<void> {
        switch (++*calls) {
            case 1:
                heard.push_back({.text = "lost", .final = false});
                return {};
            case 2:
            case 3:
                return failure(ErrorKind::closed, "the recogniser died");
            default:
                heard.push_back({.text = "found", .final = true});
                return {};
        }
    });
    sayPieces(4);
    ASSERT_TRUE(log_->waitFor(events::responseDone, 2));
    EXPECT_THAT(complaints(), ElementsAre("speech could not be recognised: the recogniser died"));
    EXPECT_EQ(log_->all(events::speechStarted, "item_id"), log_->all(events::speechStopped, "item_id"));
    // The text that was shown is taken back.
    EXPECT_THAT(log_->all(events::sourceCompleted, "transcript"), ElementsAre("", "found"));
}

TEST_F(OfflineFailures, OfTheRecogniserToStartEndTheStream) {
    open(nullptr);
    ASSERT_TRUE(log_->waitForClose());
    EXPECT_EQ(log_->closed(), 1011);
    EXPECT_THAT(complaints(), ElementsAre(HasSubstr("the model is gone")));
    sayPieces(3);  // and nothing happens
}

TEST_F(OfflineFailures, DoNotIncludeNoiseWithoutWords) {
    openHearing({"", "word"});
    sayPieces(2);
    ASSERT_TRUE(log_->waitFor(events::responseDone, 1));
    EXPECT_EQ(log_->all(events::speechStopped, "item_id").size(), 2);
    EXPECT_THAT(log_->all(events::sourceCompleted, "transcript"), ElementsAre("word"));
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(OfflineFailures, ToKeepUpAreSaidOnceAndCostOnlyTheSoundBeyondTheLimit) {
    std::promise<void> gate;
    std::promise<void> atGate;
    auto open1 = std::make_shared<std::shared_future<void>>(gate.get_future());
    auto total = std::make_shared<std::size_t>(0);
    open(
        [&atGate, open1, total](auto samples, std::vector<Hypothesis>& heard) -> Result<void> {
            if (*total == 0) {
                atGate.set_value();
                open1->wait();
            }
            *total += samples.size();
            heard.push_back({.text = std::to_string(*total), .final = true});
            return {};
        },
        "es", {.behindSeconds = 0.2, .longestSeconds = 0.5});
    sayPieces(1);
    atGate.get_future().wait();
    sayPieces(20);
    gate.set_value();
    const std::size_t kept = 1 + 10;  // one at the gate and half a second behind it
    ASSERT_TRUE(log_->waitFor(events::responseDone, kept));
    EXPECT_EQ(log_->all(events::sourceCompleted, "transcript").back(), std::to_string(kept * 800));
    EXPECT_THAT(complaints(), ElementsAre(HasSubstr("several seconds behind"), HasSubstr("left out")));

    sayPieces(1);  // there is room again
    ASSERT_TRUE(log_->waitFor(events::responseDone, kept + 1));
}

TEST_F(OfflineFailures, OfANetworkThatHeldSoundBackAreNotTheRelays) {
    std::promise<void> gate;
    auto opened = std::make_shared<std::shared_future<void>>(gate.get_future());
    open(
        [opened](auto, std::vector<Hypothesis>& heard) -> Result<void> {
            opened->wait();
            heard.push_back({.text = "word", .final = true});
            return {};
        },
        "es", {.behindSeconds = 1.5, .longestSeconds = 600});
    sayPieces(1);
    std::this_thread::sleep_for(std::chrono::seconds(1));  // the network holds back
    sayPieces(35);
    gate.set_value();
    ASSERT_TRUE(log_->waitFor(events::responseDone, 36));
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(OfflineFailures, OfOthersToTakeTheirTimeDoNotKeepAClientWaiting) {
    constexpr int steps = 100;
    constexpr std::int16_t quick = 1;  // the first sample tells the clients apart
    std::promise<void> gate;
    auto opened = std::make_shared<std::shared_future<void>>(gate.get_future());
    std::mutex mutex;
    std::vector<std::int16_t> order;
    open([&, opened](auto samples, std::vector<Hypothesis>& heard) -> Result<void> {
        opened->wait();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        if (samples.front() == quick) {
            heard.push_back({.text = "quick", .final = true});
        }
        const std::lock_guard lock(mutex);
        order.push_back(samples.front());
        return {};
    });
    const auto others = std::max(2U, std::thread::hardware_concurrency());  // enough for every worker
    std::vector<std::unique_ptr<EngineStream>> streams;
    for (unsigned other = 0; other < others; ++other) {
        auto stream = engine_->open({.target = "es", .source = {}, .voice = {}, .silenceMs = {}},
                                    std::make_shared<EventLog>());
        ASSERT_TRUE(stream);
        say(**stream, silence(0.05 * steps));
        streams.push_back(std::move(*stream));
    }
    say(*stream_, Samples(800, quick));
    gate.set_value();
    ASSERT_TRUE(log_->waitFor(events::responseDone, 1));
    streams.clear();
    stream_.reset();
    engine_.reset();  // waits for what is under way
    const auto turn = std::ranges::find(order, quick) - order.begin();
    EXPECT_LT(turn, steps / 2);
}

TEST_F(OfflineFailures, NeverHoldUpTheEndOfAStream) {
    std::promise<void> gate;
    std::promise<void> atGate;
    auto open1 = std::make_shared<std::shared_future<void>>(gate.get_future());
    open([&atGate, open1](auto, std::vector<Hypothesis>& heard) -> Result<void> {
        atGate.set_value();
        open1->wait();
        heard.push_back({.text = "too late", .final = true});
        return {};
    });
    sayPieces(5);
    atGate.get_future().wait();
    stream_.reset();  // would wait for ever, did it wait for the recogniser
    gate.set_value();
    engine_.reset();
    EXPECT_THAT(log_->all(events::sourceCompleted, "transcript"), IsEmpty());
}

}  // namespace
}  // namespace tarn::relay
