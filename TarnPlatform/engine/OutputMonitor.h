#pragma once

#include <memory>
#include <string>

#include "EchoReference.h"
#include "KeptStream.h"

namespace tarn {

/// Hears everything that the desktop's default output plays, whoever plays it: one stream on the output's
/// monitor, which follows the default, which no mixer shows and which asks for no cycle length of its own.
class OutputMonitor final : public KeptStream {
public:
    /// `rate` in Hz, of one channel.
    OutputMonitor(AudioServer& server, std::uint32_t rate, std::shared_ptr<EchoReference> reference);

    /// `group` as for `KeptStream::follow`. Fails where there is no audio server.
    Result<void> start(const std::string& group);

private:
    void receiveRt(std::span<const float> samples, std::int64_t time) noexcept override;

    const std::shared_ptr<EchoReference> reference_;
};

}  // namespace tarn
