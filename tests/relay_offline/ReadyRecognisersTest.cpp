#include "TarnRelay/offline/ReadyRecognisers.h"

#include <gmock/gmock.h>

#include <atomic>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <future>

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

std::string nameOf(const Result<std::unique_ptr<Recogniser>>& recogniser) {
    std::vector<Hypothesis> heard;
    EXPECT_TRUE(recogniser && (*recogniser)->process({}, heard));
    return heard.empty() ? "" : heard.front().text;
}

TEST(ReadyRecognisers, HandsOutTheOneThatIsLoadedAndLoadsAnotherOfTheKindAskedFor) {
    asio::thread_pool workers(1);
    const auto recognisers =
        std::make_shared<ReadyRecognisers>(std::make_shared<NumberingFactory>(), workers.get_executor());
    const auto settle = [&workers] {
        std::promise<void> done;
        asio::post(workers, [&done] { done.set_value(); });
        done.get_future().wait();
    };
    recognisers->prepare("en", 800);
    settle();
    EXPECT_EQ(nameOf(recognisers->make("en", 800)), "1 ready");
    settle();
    EXPECT_EQ(nameOf(recognisers->make("en", 800)), "2 ready");
    settle();
    EXPECT_FALSE(recognisers->make("tlh", 800));
    settle();
    const auto other = nameOf(recognisers->make("en", 300));  // 3 is of the other kind
    EXPECT_THAT(other, testing::AnyOf("4", "5"));  // made here and now, beside the one being loaded
    settle();
    EXPECT_EQ(nameOf(recognisers->make("en", 300)), other == "4" ? "5 ready" : "4 ready");
    workers.join();
}

}  // namespace
}  // namespace tarn::relay
