#include "OutputMonitor.h"

#include <utility>

namespace tarn {
namespace {

GraphStream::Description description(std::uint32_t rate) {
    GraphStream::Description stream;
    stream.capture = true;
    stream.name = "Tarn";
    stream.properties = {{"node.name", "tarn.echo"},
                         {"application.name", "Tarn"},
                         {"media.class", "Stream/Input/Audio/Internal"},
                         {"stream.capture.sink", "true"}};
    stream.rate = rate;
    stream.channelNames = {"MONO"};
    stream.autoconnect = true;
    return stream;
}

}  // namespace

OutputMonitor::OutputMonitor(AudioServer& server, std::uint32_t rate,
                             std::shared_ptr<EchoReference> reference)
    : KeptStream(server, description(rate), ""), reference_(std::move(reference)) {}

Result<void> OutputMonitor::start(const std::string& group) {
    auto following = follow(group);
    if (following) {
        const AudioServer::Lock lock(server());
        keepLinked();
    }
    return following;
}

void OutputMonitor::receiveRt(std::span<const float> samples, std::int64_t time) noexcept {
    reference_->monitoredRt(samples, time);
}

}  // namespace tarn
