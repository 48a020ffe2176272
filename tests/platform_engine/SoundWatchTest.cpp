// What is told of the desktop's sound while its parts go and come back.
#include <mutex>

#include "EngineFixture.h"
#include "TarnPlatform/engine/SoundWatch.h"

namespace tarn::test {
namespace {

/// The faults told last.
class Told {
public:
    void take(const SoundFaults& faults) {
        const std::lock_guard lock(mutex_);
        faults_ = faults;
    }
    SoundFaults faults() const {
        const std::lock_guard lock(mutex_);
        return faults_;
    }

private:
    mutable std::mutex mutex_;
    SoundFaults faults_;
};

struct SoundWatchTest : testing::Test, Session {
    std::unique_ptr<SoundWatch> watch(Told& told, std::optional<SoundWatch::Microphone> microphone) {
        EXPECT_TRUE(AudioServer::shared().snapshot());
        return std::make_unique<SoundWatch>(AudioServer::shared(), std::move(microphone),
                                            [&told](const SoundFaults& faults) { told.take(faults); });
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
    EXPECT_EQ(all.faults(), SoundFaults());
    EXPECT_EQ(chosen.faults(), SoundFaults());
    EXPECT_EQ(absent.faults(), SoundFaults()) << "the default is captured in its place";

    server.removeSource("headset");
    until("the loss is told", [&] { return chosen.faults() == SoundFaults{SoundFault::microphoneGone}; });
    EXPECT_EQ(all.faults(), SoundFaults());
    EXPECT_EQ(absent.faults(), SoundFaults());
    server.addSource("headset", "MONO");
    until("the return is told", [&] { return chosen.faults().empty(); });

    server.stopWirePlumber();
    until("it is told", [&] { return all.faults().contains(SoundFault::managerGone); });
    server.startWirePlumber();
    until("its return is told", [&] { return all.faults().empty(); });

    server.removeSink(PrivateAudioServer::microphoneFeed);
    server.removeSink(PrivateAudioServer::output);
    until("no output is told", [&] { return all.faults() == SoundFaults{SoundFault::outputGone}; });

    server.killPipeWire();
    for (const Told* const told : {&all, &chosen, &absent}) {
        until("it is told", [&] { return told->faults() == SoundFaults{SoundFault::serverGone}; });
    }
    server.startPipeWire();
    until("its return is told", [&] { return all.faults().empty() && absent.faults().empty(); });
    EXPECT_EQ(chosen.faults(), SoundFaults{SoundFault::microphoneGone}) << "it did not come back";
}

TEST_F(SoundWatchTest, BornWithoutAServerItFollowsOneThatComes) {
    server.killPipeWire();
    AudioServer later;
    Told told;
    const SoundWatch watch(later, SoundWatch::Microphone{PrivateAudioServer::microphone},
                           [&told](const SoundFaults& faults) { told.take(faults); });
    EXPECT_EQ(told.faults(), SoundFaults{SoundFault::serverGone});
    server.startPipeWire();
    until("it is told", [&] { return told.faults().empty(); });
    server.removeSource(PrivateAudioServer::microphone);
    until("it follows", [&] { return told.faults() == SoundFaults{SoundFault::microphoneGone}; });
}

}  // namespace
}  // namespace tarn::test
