#include "GraphInputNode.h"

#include <cerrno>
#include <utility>

namespace tarn {

MicrophoneFormat GraphInputNode::deviceFormat() {
    const auto graph = server_.snapshot();
    if (!graph) {
        return {};
    }
    const GraphNode* microphone = microphoneIn(*graph, chosen_);
    return microphone == nullptr ? MicrophoneFormat() : MicrophoneFormat::of(*graph, *microphone);
}

AudioFormat GraphInputNode::inputFormat(std::uint32_t bus) {
    if (bus != 0) {
        return MicrophoneFormat().delivered();
    }
    if (voice_ != nullptr) {
        return voice_->outputFormat();
    }
    if (stream_ == nullptr) {
        format_ = deviceFormat();
    }
    return format_.delivered();
}

Result<void> GraphInputNode::setVoiceProcessingEnabled(bool enabled) {
    if (stream_ != nullptr) {
        return failure(ErrorKind::invalidInput, "voice processing cannot be changed while the engine runs");
    }
    if (!enabled) {
        voice_.reset();
        return {};
    }
    const MicrophoneFormat format = deviceFormat();
    if (format.rate == 0) {
        return failure(ErrorKind::unavailable, "there is no microphone");
    }
    auto made = VoiceProcessor::make(format.rate);
    if (!made) {
        return std::unexpected(made.error());
    }
    format_ = format;
    voice_ = std::move(*made);
    return {};
}

int GraphInputNode::setCurrentDevice(std::uint32_t deviceId) {
    if (stream_ != nullptr) {
        return -EBUSY;
    }
    const auto graph = server_.snapshot();
    if (!graph) {
        return -EHOSTDOWN;
    }
    const auto found = graph->nodes.find(deviceId);
    if (found == graph->nodes.end() || !found->second.isSource()) {
        return -ENODEV;
    }
    chosen_ = property(found->second.properties, "node.name");
    return 0;
}

void GraphInputNode::installTap(std::uint32_t bus, std::uint32_t, const AudioFormat&, TapBlock block) {
    if (bus == 0) {
        block_ = std::move(block);
    }
}

void GraphInputNode::removeTap(std::uint32_t bus) {
    if (bus == 0) {
        block_ = nullptr;
        if (worker_ != nullptr) {
            worker_->endTap();
        }
    }
}

Result<void> GraphInputNode::start(const std::string& group, std::shared_ptr<EchoReference> reference) {
    if (!hasTap()) {
        return {};
    }
    if (format_.rate == 0) {
        return failure(ErrorKind::unavailable, "there is no microphone");
    }
    worker_ = MicrophoneWorker::make(format_.delivered(), voice_, std::move(reference), block_);
    stream_ = std::make_unique<MicrophoneStream>(server_, chosen_, format_, *worker_);
    auto started = stream_->start(group);
    if (!started) {
        stop();
    }
    return started;
}

void GraphInputNode::stop() {
    if (stream_ != nullptr) {
        stream_->stop();
        stream_.reset();
    }
    if (worker_ != nullptr) {
        worker_->endTap();
        worker_.reset();
    }
}

}  // namespace tarn
