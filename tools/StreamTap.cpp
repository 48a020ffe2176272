#include "StreamTap.h"

#include <algorithm>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <utility>

#include "TarnPlatform/base/TaskHandle.h"

namespace tarn::cli {
namespace {

constexpr std::size_t mostUnsent = 32000;  // bytes, a second

Task<void> nothing() {
    co_return;
}

}  // namespace

Task<void> TappedStream::sendAudio(std::vector<std::byte> bytes) {
    if (muted_) {
        // Otherwise silence would push out speech that a slow connection has not taken yet.
        if (unsent_ > mostUnsent) {
            return nothing();
        }
        std::ranges::fill(bytes, std::byte{0});
    }
    unsent_ += bytes.size();
    given_ += bytes.size();
    return send(shared_from_this(), std::move(bytes));
}

void TappedStream::queueAudio(std::vector<std::byte> bytes) {
    asio::co_spawn(bell_.get_executor(), sendAudio(std::move(bytes)), asio::detached);
}

Task<void> TappedStream::send(std::shared_ptr<TappedStream> self, std::vector<std::byte> bytes) {
    const std::size_t size = bytes.size();
    co_await self->inner_->sendAudio(std::move(bytes));
    self->unsent_ -= size;
    if (self->isAwaited_) {
        asio::post(self->bell_.get_executor(), [self] { self->bell_.cancel(); });
    }
}

Task<void> TappedStream::waitForRoom(std::shared_ptr<TappedStream> self) {
    self->isAwaited_ = true;  // set before the check, so that nothing is sent unnoticed in between
    while (self->unsent_ > mostUnsent) {
        co_await self->bell_.async_wait(asValue);
    }
    self->isAwaited_ = false;
}

Task<void> TappedStream::passEventsOn(std::shared_ptr<TappedStream> self,
                                      std::shared_ptr<StreamObserver> observer, bool played) {
    while (auto event = co_await self->inner_->events().next()) {
        observer->event(*self, *event);
        if (played || !std::holds_alternative<translate::TranslatedAudio>(*event)) {
            self->events_.push(std::move(*event));
            co_await self->events_.room();
        }
    }
    self->events_.finish();
    observer->ended(*self);
}

namespace {

using Opened = ServerResult<std::shared_ptr<TarnTranslateStream>>;

class TappedClient final : public TarnServerClient {
public:
    TappedClient(std::shared_ptr<TarnServerClient> client, std::shared_ptr<StreamObserver> observer,
                 SerialExecutor main, bool playsVoice)
        : client_(std::move(client)),
          observer_(std::move(observer)),
          main_(std::move(main)),
          playsVoice_(playsVoice) {}

    Task<ServerResult<UserAccount>> fetchMe() override { return client_->fetchMe(); }
    Task<ServerResult<EmptyResponse>> logout() override { return client_->logout(); }

    Task<Opened> openTranslateStream(std::optional<std::string> sourceLang, std::string targetLang,
                                     std::optional<std::string> voice, std::string voiceClone,
                                     std::optional<int> silenceMs) override {
        return open(client_,
                    client_->openTranslateStream(std::move(sourceLang), std::move(targetLang),
                                                 std::move(voice), std::move(voiceClone), silenceMs),
                    observer_, main_, playsVoice_);
    }

private:
    // The coroutine holds `client` while a stream is being opened.
    static Task<Opened> open(std::shared_ptr<TarnServerClient> /*client*/, Task<Opened> opening,
                             std::shared_ptr<StreamObserver> observer, SerialExecutor main, bool playsVoice) {
        auto opened = co_await std::move(opening);
        if (!opened) {
            observer->failedToOpen(opened.error());
            co_return opened;
        }
        auto stream = std::make_shared<TappedStream>(std::move(*opened), main);
        TaskHandle::start(main, TappedStream::passEventsOn(stream, observer, playsVoice));
        observer->opened(stream);
        co_return std::shared_ptr<TarnTranslateStream>(std::move(stream));
    }

    const std::shared_ptr<TarnServerClient> client_;
    const std::shared_ptr<StreamObserver> observer_;
    const SerialExecutor main_;
    const bool playsVoice_;
};

}  // namespace

std::shared_ptr<TarnServerClient> tapped(std::shared_ptr<TarnServerClient> client,
                                         std::shared_ptr<StreamObserver> observer, SerialExecutor main,
                                         bool playsVoice) {
    return std::make_shared<TappedClient>(std::move(client), std::move(observer), std::move(main),
                                          playsVoice);
}

}  // namespace tarn::cli
