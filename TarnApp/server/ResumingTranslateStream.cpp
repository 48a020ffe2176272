#include "ResumingTranslateStream.h"

#include <utility>

#include "ResumingConnection.h"

namespace tarn {

ResumingTranslateStream::ResumingTranslateStream(std::shared_ptr<TarnTranslateStream> first,
                                                 ResumeParts parts)
    : connection_(std::make_shared<ResumingConnection>(std::move(parts))) {
    connection_->begin(std::move(first));
}

ResumingTranslateStream::~ResumingTranslateStream() {
    connection_->drop();
}

const EventQueue<TarnTranslateEvent>& ResumingTranslateStream::events() const {
    return connection_->events();
}

const EventQueue<ConnectionHealth>& ResumingTranslateStream::health() const {
    return connection_->health();
}

Task<void> ResumingTranslateStream::sendAudio(std::vector<std::byte> bytes) {
    return connection_->sendAudio(std::move(bytes));
}

void ResumingTranslateStream::queueAudio(std::vector<std::byte> bytes) {
    connection_->queueAudio(std::move(bytes));
}

Task<bool> ResumingTranslateStream::waitHeard() {
    return connection_->waitHeard();
}

Task<void> ResumingTranslateStream::close() {
    return connection_->close();
}

bool ResumingTranslateStream::isAlive() const {
    return connection_->isAlive();
}

Task<std::string> ResumingTranslateStream::waitDead() {
    return connection_->waitDead();
}

}  // namespace tarn
