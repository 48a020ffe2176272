#include "OwnTones.h"

#include <cmath>
#include <stdexcept>

#include "support/audio/Until.h"

namespace tarn::test {

OwnTone::OwnTone(AudioServer& server, double frequency) : server_(server), frequency_(frequency) {
    if (const auto reached = server_.snapshot(); !reached) {
        throw std::runtime_error(reached.error().description);
    }
    GraphStream::Description description;
    description.name = "own tone";
    description.rate = 48000;
    description.channels = {ChannelPosition::frontLeft, ChannelPosition::frontRight};
    description.autoconnect = true;
    const AudioServer::Lock lock(server_);
    stream_ = GraphStream::make(server_, description, *this).value();
}

OwnTone::~OwnTone() {
    const AudioServer::Lock lock(server_);
    stream_.reset();
}

void OwnTone::awaitCycles(int more) const {
    const int wanted = cycles_ + more;
    until("a tone of this process plays", [&] { return cycles_ >= wanted; });
}

void OwnTone::renderRt(std::span<float> stereo, std::int64_t) noexcept {
    for (std::size_t i = 0; i + 1 < stereo.size(); i += 2) {
        const double turn = 2 * M_PI * frequency_ * static_cast<double>(frame_++) / 48000;
        stereo[i] = stereo[i + 1] = static_cast<float>(0.251189 * std::sin(turn));
    }
    cycles_.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace tarn::test
