// The voice processor in small simulated rooms: what is left of the echo, what is left of somebody near, and
// what happens when the streams do not behave. A cycle of the graph is 1024 samples of the microphone at 48
// kHz; the talkers are noise with syllables.

#include "TarnPlatform/voice/VoiceProcessor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>

#include "TarnPlatform/audio/RateConverter.h"
#include "support/EchoRoom.h"

namespace tarn {
namespace {

using test::babble;
using test::echoOf;
using test::EchoRoom;
using test::rmsOf;
using test::roomRate;

std::size_t at(double seconds) {
    return static_cast<std::size_t>(seconds * roomRate);
}

double decibels(double ratio) {
    return 20 * std::log10(ratio + 1e-12);
}

std::vector<float> converted(std::span<const float> samples, double rate) {
    auto converter = RateConverter::make(roomRate, rate).value();
    converter.write(samples);
    std::vector<float> out(static_cast<std::size_t>(static_cast<double>(samples.size()) * rate / roomRate) +
                           1024);
    out.resize(converter.read(out));
    return out;
}

/// How the two streams come in.
struct Streams {
    double microphoneRate = 48000;
    double cycle = 1024.0 / 48000;  // seconds of a block
    bool microphoneFirst = false;   // within a cycle
    double jitterBlocks = 0;        // of the reference's times
    double gapFrom = 0;             // seconds without blocks of the reference
    double gapTo = 0;
    VoiceProcessing processing = {.controlGain = false};
};

std::vector<float> run(VoiceProcessor& processor, std::span<const float> far, std::span<const float> near,
                       const Streams& streams) {
    const auto reference = converted(far, VoiceProcessor::referenceRate);
    const auto microphone = converted(near, streams.microphoneRate);
    std::vector<float> out;
    const auto boundary = [&](int cycle, double rate, std::size_t size) {
        return std::min(static_cast<std::size_t>(cycle * streams.cycle * rate), size);
    };
    for (int cycle = 0; boundary(cycle, streams.microphoneRate, microphone.size()) < microphone.size();
         ++cycle) {
        const double time = cycle * streams.cycle;
        const auto begin = boundary(cycle, streams.microphoneRate, microphone.size());
        const auto end = boundary(cycle + 1, streams.microphoneRate, microphone.size());
        const auto give = [&] {
            processor.process(std::llround((7 + time) * 1e9),
                              std::span(microphone).subspan(begin, end - begin), out);
        };
        if (streams.microphoneFirst) {
            give();
        }
        const auto from = boundary(cycle, VoiceProcessor::referenceRate, reference.size());
        const auto to = boundary(cycle + 1, VoiceProcessor::referenceRate, reference.size());
        if (time < streams.gapFrom || time >= streams.gapTo) {
            const double jitter = streams.jitterBlocks * (cycle * 37 % 101 - 50) / 50.0 * streams.cycle;
            processor.reference(std::llround((7 + time + jitter) * 1e9),
                                std::span(reference).subspan(from, to - from));
        }
        if (!streams.microphoneFirst) {
            give();
        }
    }
    return out;
}

std::vector<float> run(std::span<const float> far, std::span<const float> near, const Streams& streams = {}) {
    auto processor = VoiceProcessor::make(streams.microphoneRate, streams.processing).value();
    return run(*processor, far, near, streams);
}

std::vector<float> sum(std::span<const float> a, std::span<const float> b) {
    std::vector<float> both(a.begin(), a.end());
    std::ranges::transform(both, b, both.begin(), std::plus<>());
    return both;
}

double reduction(std::span<const float> microphone, std::span<const float> out, double from, double to) {
    const auto part = [&](std::span<const float> samples) {
        return rmsOf(samples.subspan(at(from), at(to) - at(from)));
    };
    return decibels(part(microphone) / part(out));
}

struct Kept {
    double gainDb = 0;
    double correlation = 0;
};

// At the best of the delays that the processing may have.
Kept keptOf(std::span<const float> near, std::span<const float> out, double from, double to) {
    Kept best;
    for (std::size_t late = 0; late < 1200; ++late) {
        double xy = 0;
        double xx = 0;
        double yy = 0;
        for (std::size_t i = at(from); i < at(to); ++i) {
            const auto x = static_cast<double>(near[i - late]);
            const auto y = static_cast<double>(out[i]);
            xy += x * y;
            xx += x * x;
            yy += y * y;
        }
        const double correlation = xy / std::sqrt(xx * yy + 1e-20);
        if (correlation > best.correlation) {
            best = {.gainDb = decibels(xy / xx), .correlation = correlation};
        }
    }
    return best;
}

struct Trouble {
    const char* name;
    EchoRoom room;
    Streams streams;
    double from = 4;  // seconds: from here on the echo must be gone
    double seconds = 8;
};

TEST(VoiceProcessor, TakesTheEchoAwayWhateverTheTrouble) {
    const Trouble troubles[] = {
        {.name = "a plain room", .room = {}, .streams = {}},
        {.name = "a loud echo", .room = {.gainDb = 6}, .streams = {}},
        {.name = "a microphone that comes first", .room = {}, .streams = {.microphoneFirst = true}},
        {.name = "an echo no later than the reference", .room = {.delay = 0}, .streams = {}},
        {.name = "a late echo", .room = {.delay = 0.350}, .streams = {}},
        {.name = "times that jitter", .room = {}, .streams = {.jitterBlocks = 1}},
        {.name = "another clock", .room = {.driftPpm = 100}, .streams = {}, .from = 9, .seconds = 12},
        {.name = "a gap in the reference",
         .room = {},
         .streams = {.gapFrom = 5, .gapTo = 6.9},
         .from = 7.3,
         .seconds = 10},
        {.name = "a delay that grows",
         .room = {.jump = 0.050, .jumpFrom = 5},
         .streams = {},
         .from = 8,
         .seconds = 11},
        {.name = "a delay that shrinks",
         .room = {.delay = 0.120, .jump = -0.050, .jumpFrom = 5},
         .streams = {},
         .from = 8,
         .seconds = 11},
        {.name = "large blocks at 44.1 kHz",
         .room = {},
         .streams = {.microphoneRate = 44100, .cycle = 8191.0 / 44100}}};
    for (const auto& [name, room, streams, from, seconds] : troubles) {
        auto far = babble(at(seconds), 0.05, 1);
        if (streams.gapTo > 0) {
            std::fill(far.begin() + static_cast<std::ptrdiff_t>(at(streams.gapFrom)),
                      far.begin() + static_cast<std::ptrdiff_t>(at(streams.gapTo + 0.1)), 0.0F);
        }
        const auto echo = echoOf(far, room);
        EXPECT_GT(reduction(echo, run(far, echo, streams), from, seconds - 0.4), 20) << name;
    }
}

TEST(VoiceProcessor, KeepsWhoSpeaksWhileTheEchoIsTakenAway) {
    const auto far = babble(at(10), 0.05, 1);
    auto near = babble(at(10), 0.05, 2);
    std::fill_n(near.begin(), at(5), 0.0F);
    const auto headphones = std::vector<float>(near.size());
    for (const auto& echo : {echoOf(far, {}), headphones}) {
        const auto kept = keptOf(near, run(far, sum(echo, near)), 5.5, 9.5);
        EXPECT_NEAR(kept.gainDb, 0, 3);
        EXPECT_GT(kept.correlation, 0.9);
    }
}

TEST(VoiceProcessor, TakesEveryRateAndEveryBlock) {
    for (const double rate : {8000.0, 11025.0, 16000.0, 32000.0, 44100.0, 48000.0, 96000.0, 192000.0}) {
        for (const double block : {64.0, 777.0, 8192.0}) {
            const auto near = babble(at(2), 0.05, 2);
            const auto out = run({}, near, {.microphoneRate = rate, .cycle = block / rate, .gapTo = 1e9});
            EXPECT_NEAR(static_cast<double>(out.size()) / roomRate, 2, 0.05) << rate << ' ' << block;
            EXPECT_NEAR(decibels(rmsOf(out) / rmsOf(near)), 0, 3) << rate << ' ' << block;
        }
    }
}

TEST(VoiceProcessor, BringsQuietAndLoudTalkersToOneLevelWithoutClipping) {
    for (const double level : {0.01, 0.05, 0.3}) {
        const auto near = babble(at(10), level, 2);
        const auto out = run({}, near, {.gapTo = 1e9, .processing = {}});
        const double late = decibels(rmsOf(std::span(out).subspan(at(6), at(3.5))));
        EXPECT_GT(late, -29) << level;
        EXPECT_LT(late, -19) << level;
        EXPECT_LT(std::ranges::max(out), 0.98F) << level;
        EXPECT_GT(std::ranges::min(out), -0.98F) << level;
    }
}

TEST(VoiceProcessor, LeavesNoiseAloneWhileNobodySpeaks) {
    const auto noise = test::pinkNoise(at(8), 0.002, 3);
    const auto out = run({}, noise, {.gapTo = 1e9, .processing = {}});
    EXPECT_LT(decibels(rmsOf(std::span(out).subspan(at(5), at(2.5))) / 0.002), 1);
}

TEST(VoiceProcessor, SurvivesSamplesThatAreNoSamples) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinite = std::numeric_limits<float>::infinity();
    auto processor = VoiceProcessor::make(48000).value();
    std::vector<float> out;
    std::vector<float> bad(1024);
    for (std::size_t i = 0; i < bad.size(); ++i) {
        bad[i] = std::array{nan, infinite, -infinite, 1e30F, -1e30F, 1e-40F, 1.0F}[i % 7];
    }
    for (int cycle = 0; cycle < 100; ++cycle) {
        processor->reference(cycle * 21'333'333, std::span(bad).first(512));
        processor->process(cycle * 21'333'333, bad, out);
    }
    for (const float sample : out) {
        ASSERT_TRUE(std::abs(sample) <= 1.0F);
    }
    // And the next talker is heard.
    const auto near = babble(at(4), 0.05, 2);
    const auto after = run(*processor, std::vector<float>(near.size()), near, {});
    EXPECT_GT(decibels(rmsOf(std::span(after).subspan(at(2), at(1.5))) / 0.05), -10);
}

TEST(VoiceProcessor, SurvivesTimesThatMakeNoSense) {
    auto processor = VoiceProcessor::make(48000).value();
    const std::vector<float> block(1024, 0.1F);
    std::vector<float> out;
    std::int64_t time = 0;
    for (int i = 0; i < 200; ++i) {
        time = i % 5 == 0   ? std::numeric_limits<std::int64_t>::max()
               : i % 7 == 0 ? -1
                            : time / 3 + std::int64_t{i} * 1'000'000'007;
        processor->reference(time, std::span(block).first(512));
        processor->process(i % 3 == 0 ? -time : time, block, out);
    }
    EXPECT_NEAR(static_cast<double>(out.size()), 200 * 1024 / 3.0, 1024);
}

TEST(VoiceProcessor, RefusesRatesThatNoMicrophoneHas) {
    for (const double rate : {0.0, -48000.0, 7999.0, 192001.0, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_FALSE(VoiceProcessor::make(rate)) << rate;
    }
}

}  // namespace
}  // namespace tarn
