#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tarn {

/// A stage of the playback graph: mono Float32 at the graph's one rate. Sound is pulled from the graph's end;
/// each stage pulls from the one before it.
///
/// Life: the graph is built (`setSource`), prepared and only then rendered. A source must outlive every
/// rendering of the stages after it. The graph is neither changed nor prepared again while it is rendered.
///
/// Functions whose names end in Rt run in the audio callback, one thread at a time: no allocation or free, no
/// lock, no log, no file, no unbounded loop, here and in every override.
class AudioNode {
public:
    AudioNode() = default;
    virtual ~AudioNode() = default;
    AudioNode(const AudioNode&) = delete;
    AudioNode& operator=(const AudioNode&) = delete;

    /// The stage that this one pulls from; null: silence. Thread: not RT, while nobody renders.
    void setSource(AudioNode* source) { source_ = source; }
    AudioNode* source() const { return source_; }

    /// Makes ready for render requests of up to `maxFrames`, here and in the stages before; larger ones are
    /// served in pieces. May be called again. Thread: not RT, while nobody renders.
    virtual void prepare(std::uint32_t maxFrames);

    /// Fills all of `out`, with silence where there is nothing to play. Thread: audio (RT).
    virtual void renderRt(std::span<float> out) noexcept = 0;

    /// Fills the front of `out` with what there is to play and returns the count: less than asked means that
    /// nothing more is there right now. What lies behind the count is unspecified. A stage that reads ahead
    /// learns so that the sound ends here, and keeps nothing back. Thread: audio (RT).
    virtual std::size_t pullRt(std::span<float> out) noexcept;

protected:
    /// `renderRt` for a stage whose work is done in `pullRt`.
    void renderPulledRt(std::span<float> out) noexcept;

    std::size_t pullSourceRt(std::span<float> out) noexcept {
        return source_ != nullptr ? source_->pullRt(out) : 0;
    }

private:
    AudioNode* source_ = nullptr;
};

}  // namespace tarn
