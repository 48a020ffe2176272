#include "OutputMonitor.h"

#include <chrono>
#include <utility>

namespace tarn {
namespace {

constexpr std::chrono::milliseconds retryEvery{500};
constexpr std::chrono::milliseconds watchEvery{250};

}  // namespace

OutputMonitor::OutputMonitor(AudioServer& server, std::uint32_t rate,
                             std::shared_ptr<EchoReference> reference)
    : server_(server), rate_(rate), reference_(std::move(reference)) {}

Result<void> OutputMonitor::start(const std::string& group) {
    group_ = group;
    const AudioServer::Lock lock(server_);
    auto following = server_.addObserver(*this);
    if (following) {
        watch_ = server_.startTimer(watchEvery, [this] { watch(); });
    }
    return following;
}

void OutputMonitor::stop() {
    const AudioServer::Lock lock(server_);
    GraphStream::awaitSettled(server_, stream_);
    server_.removeObserver(*this);
    watch_.reset();
    retry_.reset();
    links_.drop();
    stream_.reset();
}

void OutputMonitor::connected() {
    makeStream();
}

void OutputMonitor::disconnected() {
    retry_.reset();
    links_.drop();
    stream_.reset();
}

void OutputMonitor::graphChanged(const Graph& graph) {
    if (stream_ != nullptr && stream_->isStale(graph)) {
        links_.drop();
        stream_.reset();
        makeStream();
    }
}

void OutputMonitor::makeStream() {
    GraphStream::Description description;
    description.capture = true;
    description.name = "Tarn";
    description.properties = {{"node.name", "tarn.echo"},
                              {"application.name", "Tarn"},
                              {"media.class", "Stream/Input/Audio/Internal"},
                              {"stream.capture.sink", "true"}};
    if (!group_.empty()) {
        description.properties["node.group"] = group_;
    }
    description.rate = rate_;
    description.channelNames = {"MONO"};
    description.autoconnect = true;
    if (auto made = GraphStream::make(server_, description, *this)) {
        stream_ = std::move(*made);
        retry_.reset();
    } else {
        makeStreamLater();
    }
}

void OutputMonitor::makeStreamLater() {
    if (server_.core() != nullptr && retry_ == nullptr) {
        retry_ = server_.startTimer(retryEvery, [this] {
            stream_.reset();
            makeStream();
        });
    }
}

void OutputMonitor::watch() {
    links_.watch(stream_.get(), server_.graph().defaultOutput(), watchEvery);
}

// Called by the stream itself, which therefore goes a little later.
void OutputMonitor::ended(const std::string&) {
    makeStreamLater();
}

void OutputMonitor::receiveRt(std::span<const float> samples, std::int64_t time) noexcept {
    reference_->monitoredRt(samples, time);
}

}  // namespace tarn
