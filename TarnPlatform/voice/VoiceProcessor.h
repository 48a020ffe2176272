#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "TarnPlatform/audio/AudioFormat.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

/// The stages that a microphone's signal goes through.
struct VoiceProcessing {
    bool cancelEcho = true;
    bool suppressRest = true;  ///< of the echo, and steady noise
    bool controlGain = true;
};

/// One microphone's signal without the echo of what we play ourselves, with less noise, at a good level.
///
/// Both signals are brought to 16 kHz. The reference is paired with the microphone by the times of their
/// blocks at first and then by counting samples, so that times that jitter do no harm; it is paired again
/// only where a stream jumped. How late the echo is and how fast its clock runs are measured by correlation:
/// the reference is moved to where the echo begins, and read a little faster or slower. An adaptive filter
/// (`EchoFilter`) takes away what it can predict, a suppressor (`ResidualSuppressor`) turns down the rest and
/// the noise, and `LevelControl` sets the level.
///
/// Chosen by `echo_table`: beside the packaged cancellers, this keeps the near talker far better understood.
///
/// Thread: one at a time (the capture worker). Never waits, and allocates only where `out` must grow. It
/// holds the microphone back by 30 ms, and by up to a block more while the reference of that time has not
/// come.
class VoiceProcessor {
public:
    static constexpr double referenceRate = 24000;  ///< Hz
    static constexpr double outputRate = 16000;     ///< Hz

    /// `microphoneRate` in Hz. `invalidInput` for one that is not from 8000 to 192000.
    static Result<std::unique_ptr<VoiceProcessor>> make(double microphoneRate,
                                                        VoiceProcessing processing = {});

    ~VoiceProcessor();
    VoiceProcessor(const VoiceProcessor&) = delete;
    VoiceProcessor& operator=(const VoiceProcessor&) = delete;

    /// Float32, 16000 Hz, one channel, planar.
    AudioFormat outputFormat() const;

    /// A block of what goes to the loudspeaker: mono at 24000 Hz, as rendered. `time`: CLOCK_MONOTONIC in
    /// nanoseconds of the graph's cycle in which the block begins. No blocks are needed while nothing plays.
    /// Samples that are not finite are taken as silence.
    void reference(std::int64_t time, std::span<const float> samples);

    /// A block of the microphone, as captured; `time` as above, at best of the same cycle as the reference.
    /// Appends to `out` what is ready, in whole hops of 160 samples, each within full scale. Samples that are
    /// not finite are taken as silence.
    void process(std::int64_t time, std::span<const float> microphone, std::vector<float>& out);

private:
    class Engine;

    explicit VoiceProcessor(std::unique_ptr<Engine> engine);

    std::unique_ptr<Engine> engine_;
};

}  // namespace tarn
