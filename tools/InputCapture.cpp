#include "InputCapture.h"

#include <boost/asio/post.hpp>
#include <chrono>
#include <cstring>
#include <utility>
#include <vector>

namespace tarn::cli {
namespace {

/// An input that fell behind may catch up by this much, faster than real time.
constexpr std::chrono::milliseconds mostCatchUp{1000};

Clock::Duration lengthOf(std::size_t bytes) {
    return std::chrono::milliseconds(bytes * 1000 / InputSource::bytesPerSecond);
}

const AudioFormat pieceFormat{CommonFormat::int16, 16000, 1, false, std::nullopt};

}  // namespace

Result<void> InputCapture::addStreamOutput(std::shared_ptr<StreamOutput> /*output*/,
                                           StreamOutputType /*type*/,
                                           std::shared_ptr<SerialQueue> /*sampleHandlerQueue*/) {
    return failure(ErrorKind::invalidInput, "an input has its one receiver from the beginning");
}

Task<Result<void>> InputCapture::startCapture() {
    due_ = parts_.clock->now();
    feeding_ = TaskHandle::start(parts_.executor, feed(shared_from_this()));
    co_return Result<void>();
}

void InputCapture::stopCapture(std::function<void(Result<void>)> completionHandler) {
    feeding_.cancel();
    asio::post(parts_.executor, [handler = std::move(completionHandler)] { handler({}); });
}

Task<void> InputCapture::feed(std::shared_ptr<InputCapture> self) {
    co_await feedInput(self);
    const std::vector<std::byte> silence(InputSource::bytesPerSecond / 1000 *
                                         static_cast<std::size_t>(InputSource::pieceLength.count()));
    self->due_ = self->parts_.clock->now();
    for (;;) {
        self->due_ += InputSource::pieceLength;
        co_await sleepFor(self->parts_.clock, self->due_ - self->parts_.clock->now());
        self->deliver(silence);
    }
}

Task<void> InputCapture::feedInput(std::shared_ptr<InputCapture> self) {
    const Parts& parts = self->parts_;
    for (;;) {
        auto piece = co_await parts.input->next();
        if (!piece) {
            parts.atItsEnd(piece.error());
            co_return;
        }
        if (!*piece) {
            parts.atItsEnd(std::nullopt);
            co_return;
        }
        if (parts.pace == Pace::realTime) {
            // A microphone would deliver a piece when its last sample had been spoken, so this does too.
            const auto now = parts.clock->now();
            self->due_ =
                std::max<Clock::TimePoint>(self->due_ + lengthOf((*piece)->size()), now - mostCatchUp);
            co_await sleepFor(parts.clock, self->due_ - now);
        } else {
            co_await parts.waitForRoom();
        }
        self->deliver(**piece);
    }
}

void InputCapture::deliver(std::span<const std::byte> piece) const {
    const auto frames = static_cast<std::uint32_t>(piece.size() / sizeof(std::int16_t));
    auto buffer = PcmBuffer::make(pieceFormat, frames);
    if (buffer) {
        buffer->setFrameLength(frames);
        std::memcpy(buffer->int16ChannelData(), piece.data(), frames * sizeof(std::int16_t));
        parts_.deliver(*buffer);
    }
}

}  // namespace tarn::cli
