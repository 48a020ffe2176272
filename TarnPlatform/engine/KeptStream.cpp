#include "KeptStream.h"

#include <utility>

#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr std::chrono::milliseconds retryEvery{500};
constexpr std::chrono::milliseconds watchEvery{250};

}  // namespace

KeptStream::KeptStream(AudioServer& server, GraphStream::Description description, std::string logTag)
    : server_(server), logTag_(std::move(logTag)), description_(std::move(description)) {}

Result<void> KeptStream::follow(const std::string& group) {
    if (!group.empty()) {
        description_.properties["node.group"] = group;
    }
    return server_.addObserver(*this);
}

void KeptStream::keepLinked() {
    watch_ = server_.startTimer(watchEvery, [this] {
        links_.watch(stream_.get(), server_.graph().defaultOutput(), watchEvery);
        watched();
    });
}

void KeptStream::setLayout(std::vector<std::string> channelNames, const Properties& more) {
    description_.channelNames = std::move(channelNames);
    for (const auto& [key, value] : more) {
        description_.properties[key] = value;
    }
}

void KeptStream::stop() {
    const AudioServer::Lock lock(server_);
    GraphStream::awaitSettled(server_, stream_);
    server_.removeObserver(*this);
    watch_.reset();
    retry_.reset();
    dropStream();
}

void KeptStream::connected() {
    makeStream();
}

void KeptStream::disconnected() {
    retry_.reset();
    dropStream();
}

void KeptStream::graphChanged(const Graph& graph) {
    if (stream_ != nullptr && stream_->isStale(graph)) {
        dropStream();
        makeStream();
    }
}

void KeptStream::streaming() {
    lost_ = false;
    server_.wake();
}

// The stream itself calls this, so it cannot be destroyed here: the retry does that.
void KeptStream::ended(const std::string&) {
    makeStreamLater("the audio server let go of the stream; trying again");
}

void KeptStream::makeStream() {
    auto made = GraphStream::make(server_, description_, *this);
    if (!made) {
        made_ = std::unexpected(made.error());
        makeStreamLater("no stream to play on: " + made.error().description);
        return;
    }
    made_ = {};
    stream_ = std::move(*made);
}

void KeptStream::makeStreamLater(const std::string& why) {
    if (server_.core() == nullptr) {
        return;  // The connection broke, and the next one makes a stream by itself.
    }
    if (!std::exchange(lost_, true) && !logTag_.empty()) {
        logLine(logTag_ + " " + why);
    }
    if (retry_ == nullptr) {
        retry_ = server_.startTimer(retryEvery, [this] {
            stream_.reset();
            makeStream();
            if (stream_ != nullptr) {
                retry_.reset();
            }
        });
    }
    server_.wake();
}

// The links go first, since they end at the stream's ports.
void KeptStream::dropStream() {
    links_.drop();
    stream_.reset();
}

}  // namespace tarn
