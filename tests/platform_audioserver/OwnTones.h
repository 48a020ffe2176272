#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/audioserver/GraphStream.h"

namespace tarn::test {

/// A tone of -12 dBFS that a stream of this process plays to the default output, in stereo.
class OwnTone : private GraphStreamHandler {
public:
    OwnTone(AudioServer& server, double frequency);
    ~OwnTone();
    void awaitCycles(int more) const;  ///< throws after 20 s

private:
    void renderRt(std::span<float> stereo, std::int64_t) noexcept override;

    AudioServer& server_;
    const double frequency_;
    std::uint64_t frame_ = 0;
    std::atomic<int> cycles_{0};
    std::unique_ptr<GraphStream> stream_;
};

}  // namespace tarn::test
