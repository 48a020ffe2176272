// What is told of the desktop's sound while its parts go and come back.
#include <mutex>

#include "EngineFixture.h"
#include "TarnPlatform/engine/SoundWatch.h"

namespace tarn::test {
namespace {

/// What was said to be missing last.
class Told {
public:
    void take(const MissingSound& missing) {
        const std::lock_guard lock(mutex_);
        missing_ = missing;
    }
    MissingSound missing() const {
        const std::lock_guard lock(mutex_);
        return missing_;
    }

private:
    mutable std::mutex mutex_;
    MissingSound missing_;
};

struct SoundWatchTest : testing::Test, Session {
    std::unique_ptr<SoundWatch> watch(Told& told, std::optional<SoundWatch::Microphone> microphone) {
        EXPECT_TRUE(AudioServer::shared().snapshot());
        return std::make_unique<SoundWatch>(AudioServer::shared(), std::move(microphone),
                                            [&told](const MissingSound& missing) { told.take(missing); });
    }
};

TEST_F(SoundWatchTest, TellsWhatIsGoneAndThatItIsBack) {
    server.addSource("headset", "MONO");
    Told all;
    Told chosen;
    Told absent;
    const auto first = watch(all, std::nullopt);
    const auto second = watch(chosen, SoundWatch::Microphone{"headset"});
    const auto third = watch(absent, SoundWatch::Microphone{"never-there"});
    EXPECT_EQ(all.missing(), MissingSound());
    EXPECT_EQ(chosen.missing(), MissingSound());
    EXPECT_EQ(absent.missing(), MissingSound()) << "the default is captured in its place";

    server.removeSource("headset");
    until("the loss is told", [&] { return chosen.missing() == MissingSound{.microphone = true}; });
    EXPECT_EQ(all.missing(), MissingSound());
    EXPECT_EQ(absent.missing(), MissingSound());
    server.addSource("headset", "MONO");
    until("the return is told", [&] { return chosen.missing() == MissingSound(); });

    server.stopWirePlumber();
    until("it is told", [&] { return all.missing().manager; });
    server.startWirePlumber();
    until("its return is told", [&] { return all.missing() == MissingSound(); });

    server.removeSink(PrivateAudioServer::microphoneFeed);
    server.removeSink(PrivateAudioServer::output);
    until("no output is told", [&] { return all.missing() == MissingSound{.output = true}; });

    server.killPipeWire();
    for (const Told* const told : {&all, &chosen, &absent}) {
        until("it is told", [&] { return told->missing() == MissingSound{.server = true}; });
    }
    server.startPipeWire();
    until("its return is told",
          [&] { return all.missing() == MissingSound() && absent.missing() == MissingSound(); });
    EXPECT_EQ(chosen.missing(), (MissingSound{.microphone = true})) << "it did not come back";
}

TEST_F(SoundWatchTest, BornWithoutAServerItFollowsOneThatComes) {
    server.killPipeWire();
    AudioServer later;
    Told told;
    const SoundWatch watch(later, SoundWatch::Microphone{PrivateAudioServer::microphone},
                           [&told](const MissingSound& missing) { told.take(missing); });
    EXPECT_EQ(told.missing(), (MissingSound{.server = true}));
    server.startPipeWire();
    until("it is told", [&] { return told.missing() == MissingSound(); });
    server.removeSource(PrivateAudioServer::microphone);
    until("it follows", [&] { return told.missing() == MissingSound{.microphone = true}; });
}

}  // namespace
}  // namespace tarn::test
