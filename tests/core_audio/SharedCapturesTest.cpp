// Several sinks of one capture: of a real graph, and of a capture that ends or does not start.

#include "TarnCore/audio/SharedCaptures.h"

#include <gmock/gmock.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <random>
#include <semaphore>
#include <thread>

#include "CaptureSession.h"
#include "TarnCore/audio/AudioResampler.h"
#include "TarnCore/audio/SoundFanOut.h"
#include "TarnPlatform/base/EventQueue.h"
#include "support/audio/Measure.h"
#include "support/audio/Player.h"
#include "support/audio/Until.h"

namespace tarn {
namespace {

using Started = Result<std::shared_ptr<CaptureStream>>;

/// What one session's sink hears, as it goes to the service.
class Ear {
public:
    std::shared_ptr<AudioSink> sink = std::make_shared<AudioSink>();
    std::shared_ptr<CaptureStream> stream;
    std::atomic<int> ends{0};

    Ear() {
        sink->onPCM = [this](const PcmBuffer& buffer) {
            const auto bytes = resampler_.process(buffer);
            const std::lock_guard lock(mutex_);
            for (std::size_t i = 0; bytes && i < bytes->size(); i += 2) {
                const auto sample = static_cast<std::int16_t>(std::to_integer<int>((*bytes)[i]) |
                                                              std::to_integer<int>((*bytes)[i + 1]) << 8);
                heard_.push_back(static_cast<float>(sample) / 32768);
            }
        };
        sink->onEnd = [this] { ++ends; };
    }

    std::vector<float> heard() const {
        const std::lock_guard lock(mutex_);
        return heard_;
    }
    std::size_t count() const { return heard().size(); }
    /// Waits for that much more.
    void hearMore(double seconds) const {
        const std::size_t enough = count() + static_cast<std::size_t>(16000 * seconds);
        test::until("more is heard", [&] { return count() >= enough; });
    }
    void hearTone() const {
        test::until("the tone is heard", [&] {
            hearMore(0.1);
            const auto all = heard();
            return std::abs(test::toneLevel(std::span(all).last(1600), 500, 16000) + 12) < 0.2;
        });
    }
    Result<void> stop() const {
        std::promise<Result<void>> stopped;
        stream->stopCapture([&](Result<void> result) { stopped.set_value(std::move(result)); });
        return stopped.get_future().get();
    }

private:
    AudioResampler resampler_;
    mutable std::mutex mutex_;
    std::vector<float> heard_;
};

struct SharedCapturesOfAGraph : testing::Test, test::CaptureSession {
    std::shared_ptr<SharedCaptures> captures =
        std::make_shared<SharedCaptures>(context.get_executor(), *service);

    void start(Ear& ear, std::optional<std::string> bundleID = std::nullopt) {
        auto started = test::runTask(context, SharedCaptures::start(captures, ear.sink, std::move(bundleID)));
        ASSERT_TRUE(started) << started.error().description;
        ear.stream = std::move(*started);
    }
    std::ptrdiff_t capturesInGraph() {
        const auto graph = server.snapshot();
        return std::ranges::count_if(graph->nodes, [](const auto& node) {
            return property(node.second.properties, "node.name") == "tarn-capture";
        });
    }
    test::Player playTone() { return {session, session.toneFile(500, -12, 120), {}}; }
};

TEST_F(SharedCapturesOfAGraph, SinksOfOneSourceShareACaptureWhileOthersComeAndGo) {
    const auto player = playTone();
    Ear first;
    Ear second;
    Ear other;
    start(first);
    first.hearTone();
    start(second);
    start(other, "pw-cat");
    second.hearTone();
    other.hearTone();
    EXPECT_EQ(capturesInGraph(), 2);
    first.hearMore(1);
    EXPECT_TRUE(first.stop());
    const std::size_t afterStop = first.count();
    second.hearMore(1);
    EXPECT_EQ(first.count(), afterStop);
    EXPECT_TRUE(second.stop());
    EXPECT_FALSE(second.stop());
    EXPECT_TRUE(other.stop());
    EXPECT_EQ(capturesInGraph(), 0);
    start(first);
    first.hearMore(0.5);
    EXPECT_TRUE(first.stop());
}

TEST_F(SharedCapturesOfAGraph, ASinkThatIsHeldUpHoldsUpNoOther) {
    const auto player = playTone();
    Ear first;
    start(first);
    first.hearTone();
    Ear slow;
    std::counting_semaphore<> released(0);
    std::atomic<int> calls{0};
    slow.sink->onPCM = [&](const PcmBuffer&) {
        if (++calls == 1) {  // slow once: it is given a queue of its own, which is then stuck
            std::this_thread::sleep_for(2 * SoundFanOut::patience);
        } else {
            released.acquire();
        }
    };
    start(slow);
    first.hearMore(3);
    EXPECT_EQ(log.lines("[capture] a listener does not take its sound in time").size(), 1U);
    Ear third;
    start(third);
    third.hearTone();
    EXPECT_TRUE(first.stop());
    third.hearMore(0.5);
    released.release(1000);
    EXPECT_TRUE(slow.stop());
    EXPECT_TRUE(third.stop());
}

TEST_F(SharedCapturesOfAGraph, TheServersRestartReachesAll) {
    auto player = std::optional(playTone());
    Ear first;
    Ear second;
    start(first);
    start(second);
    first.hearTone();
    player.reset();
    session.killPipeWire();
    first.hearMore(0.5);  // of silence
    second.hearMore(0.5);
    session.startPipeWire();
    const auto again = playTone();
    first.hearTone();
    second.hearTone();
    EXPECT_EQ(first.ends + second.ends, 0);
    EXPECT_TRUE(first.stop());
    EXPECT_TRUE(second.stop());
}

/// Captures whose fate the test decides.
class ScriptedService : public CaptureService {
public:
    struct Stream : CaptureStream {
        std::shared_ptr<StreamDelegate> delegate;
        std::shared_ptr<StreamOutput> output;
        std::shared_ptr<SerialQueue> queue;
        EventQueue<Result<void>> outcome;

        Result<void> addStreamOutput(std::shared_ptr<StreamOutput> itsOutput, StreamOutputType,
                                     std::shared_ptr<SerialQueue> itsQueue) override {
            output = std::move(itsOutput);
            queue = std::move(itsQueue);
            return {};
        }
        void deliver(const PcmBuffer& buffer) {
            queue->sync([&] {
                std::vector<AudioBuffer> planes;
                for (std::uint32_t plane = 0; plane < buffer.planeCount(); ++plane) {
                    planes.push_back({reinterpret_cast<const std::byte*>(buffer.floatChannelData(plane)),
                                      buffer.frameLength() * sizeof(float)});
                }
                output->stream(*this,
                               {.valid = true,
                                .formatDescription = buffer.format(),
                                .numSamples = buffer.frameLength(),
                                .audioBufferList = planes},
                               StreamOutputType::audio);
            });
        }
        Task<Result<void>> startCapture() override {
            auto result = co_await outcome.next();
            co_return std::move(*result);
        }
        void stopCapture(std::function<void(Result<void>)> stopped) override { stopped({}); }
    };
    std::vector<std::shared_ptr<Stream>> made;

    Task<Result<ShareableContent>> getShareableContent(bool, bool) override {
        ShareableContent content;
        content.displays.emplace_back();
        co_return content;
    }
    std::shared_ptr<CaptureStream> makeStream(const ContentFilter&, const StreamConfiguration&,
                                              std::weak_ptr<StreamDelegate> delegate) override {
        made.push_back(std::make_shared<Stream>());
        made.back()->delegate = delegate.lock();
        return made.back();
    }
};

struct SharedCapturesOfAScript : testing::Test {
    const test::LogCapture log;
    asio::io_context context;
    ScriptedService service;
    std::shared_ptr<SharedCaptures> captures =
        std::make_shared<SharedCaptures>(context.get_executor(), service);
    std::vector<Ear> ears{2};
    std::vector<Started> results;

    void start(Ear& ear) {
        asio::co_spawn(
            context, SharedCaptures::start(captures, ear.sink, std::nullopt),
            [&](const std::exception_ptr&, Started started) { results.push_back(std::move(started)); });
        run();
    }
    void startBoth() {
        results.clear();
        std::ranges::for_each(ears, [this](Ear& ear) { start(ear); });
    }
    void run() {
        context.restart();
        context.poll();
    }
    void finish(Result<void> outcome) {
        service.made.back()->outcome.push(std::move(outcome));
        run();
    }
};

/// Noise, 48 kHz stereo, so that no stretch of it is like another.
PcmBuffer noise(std::mt19937& random) {
    auto buffer =
        PcmBuffer::make({CommonFormat::float32, 48000, 2, false, std::nullopt}, 512 + random() % 512).value();
    buffer.setFrameLength(buffer.frameCapacity());
    std::uniform_real_distribution<float> sample(-0.5F, 0.5F);
    for (std::uint32_t plane = 0; plane < 2; ++plane) {
        std::ranges::generate_n(buffer.floatChannelData(plane), buffer.frameLength(),
                                [&] { return sample(random); });
    }
    return buffer;
}

TEST_F(SharedCapturesOfAScript, EachHearsEverySampleFromItsStartToItsStop) {
    std::mt19937 random(1);
    Ear reference;
    std::vector<std::size_t> marks;
    const auto deliver = [&] {
        for (int i = 0; i < 50; ++i) {
            const auto buffer = noise(random);
            reference.sink->onPCM(buffer);
            service.made.back()->deliver(buffer);
        }
        marks.push_back(reference.count());
    };
    start(ears[0]);
    finish({});
    ears[0].stream = results[0].value();
    deliver();
    start(ears[1]);
    ears[1].stream = results[1].value();
    deliver();
    EXPECT_TRUE(ears[0].stop());
    deliver();
    EXPECT_TRUE(ears[1].stop());
    const auto all = reference.heard();
    const auto stretch = [&](std::size_t from, std::size_t to) {
        return std::vector(all.begin() + static_cast<std::ptrdiff_t>(from),
                           all.begin() + static_cast<std::ptrdiff_t>(to));
    };
    EXPECT_TRUE(ears[0].heard() == stretch(0, marks[1]));
    EXPECT_TRUE(ears[1].heard() == stretch(marks[0], marks[2]));
}

TEST_F(SharedCapturesOfAScript, FailureAndEndReachAllAndTheNextBeginsAnew) {
    startBoth();
    finish(failure(ErrorKind::unavailable, "no sound"));
    EXPECT_EQ(service.made.size(), 1U);
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(results[0].error().description, "no sound");
    EXPECT_EQ(results[1].error().description, "no sound");

    startBoth();
    finish({});
    ASSERT_EQ(service.made.size(), 2U);
    ASSERT_TRUE(results[0] && results[1]);
    const auto stream = service.made.back();
    stream->delegate->stream(*stream, Error{.kind = ErrorKind::closed, .description = "over"});
    test::until("both are told", [&] { return ears[0].ends == 1 && ears[1].ends == 1; });
    startBoth();
    finish({});
    ASSERT_EQ(service.made.size(), 3U);
    const auto last = service.made.back();
    last->delegate.reset();
    last->output.reset();
    results.clear();
    EXPECT_EQ(last.use_count(), 2) << "a capture that nobody has any more goes on";
}

}  // namespace
}  // namespace tarn
