#pragma once

#include <memory>
#include <string>

#include "AudioInputNode.h"
#include "TarnPlatform/audio/AudioFormat.h"
#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/rendering/AudioNode.h"

namespace tarn {

/// Plays a graph of nodes on the desktop's default output and captures one microphone. An interface, so that
/// a device that is dead or refuses can stand in.
///
/// The output follows the desktop's default as it changes; while there is none, or no audio server, what is
/// to be played waits. A microphone that is gone delivers silence, in real time, until it is back.
///
/// Thread: any but the audio server's loop, one call at a time.
class AudioEngine {
public:
    struct Options {
        /// What puts other programs' volumes back if this process dies; empty: looked for beside this program
        /// and in ../libexec/tarn.
        std::string volumeKeeper;
    };

    virtual ~AudioEngine() = default;

    /// Keeps the node as long as the engine lives.
    virtual void attach(std::shared_ptr<AudioNode> node) = 0;

    /// `to` plays what comes from `from`. All connections of an engine have one format, of one Float32
    /// channel. Requires: both are attached, or the mixer; the engine does not run.
    virtual void connect(AudioNode& from, AudioNode& to, const AudioFormat& format) = 0;

    /// The end of the graph. Belongs to the engine.
    virtual AudioNode& mainMixerNode() = 0;

    virtual AudioInputNode& inputNode() = 0;

    /// By how many decibels, -20 to 0, other programs are turned down while this plays something. Heard at
    /// once. Without a word 12 where there is voice processing, else none; and none ever where there is a tap
    /// without voice processing, or the engine cannot. Thread: any, at any time.
    virtual void turnOthersDown(double /*decibels*/) {}

    /// The place of what this plays between left, -1, and right, 1; beyond these the nearest counts. 0, as at
    /// creation, has it on all loudspeakers alike. The first other one waits for a pause in the sound; later
    /// ones are heard at once, without a jump. Thread: any, at any time.
    virtual void setPlace(float /*place*/) {}

    /// Makes the nodes ready; `start` does it where it has not been done.
    virtual void prepare() = 0;

    /// Plays what is connected and captures where there is a tap. Fails where there is no audio server, it
    /// does not answer, or nothing connects the sound, after 2 s at most; then nothing runs.
    virtual Result<void> start() = 0;

    virtual bool isRunning() const = 0;

    /// On return no node is rendered and no tap is called any more. May be called at any time. Waits for the
    /// audio server, 4 s at most where it hangs.
    virtual void stop() = 0;

    static std::unique_ptr<AudioEngine> make();
    static std::unique_ptr<AudioEngine> make(Options options);
};

}  // namespace tarn
