#include "TarnRelay/offline/speech/ReadyRecognisers.h"

#include <gmock/gmock.h>

#include <atomic>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <future>

#include "TarnRelay/offline/EngineUpkeep.h"
#include "support/ManualClock.h"

namespace tarn::relay {
namespace {

/// Numbers what it makes; what is made tells its number once it was asked to get ready.
class NumberingFactory : public RecogniserFactory {
public:
    class Numbered : public Recogniser {
    public:
        explicit Numbered(int number) : number_(number) {}
        Result<void> process(std::span<const std::int16_t>, std::vector<Hypothesis>& heard) override {
            heard.push_back({.text = std::to_string(number_) + (ready_ ? " ready" : ""), .final = true});
            ready_ = true;
            return {};
        }
        bool inSpeech() const override { return false; }

    private:
        const int number_;
        bool ready_ = false;
    };

    std::vector<std::string> languages() const override { return {"en"}; }
    Result<std::unique_ptr<Recogniser>> make(const std::string& language, int) override {
        if (language != "en") {
            return failure(ErrorKind::unavailable, "no model");
        }
        return std::make_unique<Numbered>(++made_);
    }

private:
    std::atomic<int> made_ = 0;
};

/// Waits until the one worker has done what it has.
void settle(asio::thread_pool& workers) {
    std::promise<void> done;
    asio::post(workers, [&done] { done.set_value(); });
    done.get_future().wait();
}

std::string nameOf(const Result<std::unique_ptr<Recogniser>>& recogniser) {
    std::vector<Hypothesis> heard;
    EXPECT_TRUE(recogniser && (*recogniser)->process({}, heard));
    return heard.empty() ? "" : heard.front().text;
}

TEST(ReadyRecognisers, HandsOutTheOneThatIsLoadedAndLoadsAnotherOfTheKindAskedFor) {
    asio::thread_pool workers(1);
    std::atomic<int> gone = 0;
    auto recognisers = std::make_shared<ReadyRecognisers>(std::make_shared<NumberingFactory>(),
                                                          workers.get_executor(), [&gone] { ++gone; });
    recognisers->prepare("en", 800);
    settle(workers);
    EXPECT_EQ(nameOf(recognisers->make("en", 800)), "1 ready");
    settle(workers);
    EXPECT_EQ(nameOf(recognisers->make("en", 800)), "2 ready");
    settle(workers);
    EXPECT_FALSE(recognisers->make("tlh", 800));
    settle(workers);
    const auto other = nameOf(recognisers->make("en", 300));  // 3 is of the other kind
    EXPECT_THAT(other, testing::AnyOf("4", "5"));  // made here and now, beside the one being loaded
    settle(workers);
    EXPECT_EQ(nameOf(recognisers->make("en", 300)), other == "4" ? "5 ready" : "4 ready");
    workers.join();
    recognisers.reset();
    EXPECT_EQ(gone, 6);  // two that were ready in vain are among them
}

/// Has something to end at the first look.
class IdleTranslator : public Translator {
public:
    std::vector<std::pair<std::string, std::string>> pairs() const override { return {}; }
    Result<std::string> translate(const std::string& text, const std::string&, const std::string&) override {
        return text;
    }
    std::optional<Clock::Duration> endIdle(Clock::Duration) override {
        return asked_++ == 0 ? std::optional<Clock::Duration>(std::chrono::minutes(5)) : std::nullopt;
    }

private:
    int asked_ = 0;
};

TEST(EngineUpkeep, GivesMemoryBackOnceAfterTheLastOfSeveralRecognisers) {
    asio::thread_pool workers(1);
    const auto clock = std::make_shared<test::ManualClock>();
    int given = 0;
    const auto upkeep = std::make_shared<EngineUpkeep>(
        clock, workers.get_executor(), std::make_shared<IdleTranslator>(), [&given] { ++given; });
    const auto pass = [&](Clock::Duration time) {
        settle(workers);
        clock->advance(time);
        settle(workers);
        return given;
    };
    for (int round = 0; round < 3; ++round) {
        upkeep->recogniserGone();
        EXPECT_EQ(pass(std::chrono::milliseconds(900)), 0);
    }
    EXPECT_EQ(pass(std::chrono::milliseconds(100)), 1);
    EXPECT_EQ(pass(std::chrono::hours(1)), 1);
    upkeep->recogniserGone();
    EXPECT_EQ(pass(std::chrono::seconds(1)), 2);
    upkeep->translatorNeeded();
    EXPECT_EQ(pass(EngineUpkeep::idleTime), 2);
    EXPECT_EQ(pass(std::chrono::minutes(5)), 3);  // with the last of the translator's programs
    EXPECT_EQ(pass(std::chrono::hours(1)), 3);
    upkeep->recogniserGone();
    upkeep->translatorNeeded();
    upkeep->stop();
    EXPECT_EQ(pass(std::chrono::hours(1)), 3);
    workers.join();
}

}  // namespace
}  // namespace tarn::relay
