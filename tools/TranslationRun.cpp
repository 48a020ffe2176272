#include "TranslationRun.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/experimental/promise.hpp>
#include <boost/asio/experimental/use_promise.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/this_coro.hpp>
#include <csignal>

namespace tarn::cli {
namespace {

using namespace asio::experimental::awaitable_operators;
using std::chrono::milliseconds;
using SteadyTime = std::chrono::steady_clock::time_point;

/// How long nothing may come before the last utterance counts as done with.
constexpr milliseconds quietTime{800};
/// Beyond the silence that ends an utterance: what the service needs to notice and to answer.
constexpr milliseconds noticeTime{1000};
/// An input that fell behind may catch up by this much, faster than real time.
constexpr milliseconds mostCatchUp{1000};

Task<void> sleepUntil(SteadyTime time) {
    asio::steady_timer timer(co_await asio::this_coro::executor, time);
    co_await timer.async_wait(asValue);
}

milliseconds lengthOf(std::size_t bytes) {
    return milliseconds(bytes * 1000 / InputSource::bytesPerSecond);
}

}  // namespace

TranslationRun::TranslationRun(asio::io_context& context, RunOptions options, std::shared_ptr<TarnServerClient> server)
    : context_(context),
      options_(std::move(options)),
      server_(std::move(server)),
      printer_(EventPrinter::make(options_, std::chrono::steady_clock::now())),
      outputGone_(context, SteadyTime::max()) {}

Task<ExitStatus> TranslationRun::run() {
    auto input = openInput(options_.input, context_.get_executor());
    if (!input) {
        fail(input.error().description);
        co_return status_;
    }
    if (options_.dubFile) {
        auto writer = SoundFileWriter::create(*options_.dubFile, 24000);
        if (!writer) {
            fail(writer.error().description);
            co_return status_;
        }
        dub_ = std::move(*writer);
    }

    printer_->state("connecting");
    const auto silence = options_.silenceMs >= 1 ? std::optional(options_.silenceMs) : std::nullopt;
    auto opening = server_->openTranslateStream(options_.sourceLang, options_.targetLang, options_.voice,
                                                options_.voiceClone, silence);
    auto opened = co_await (std::move(opening) || waitForInterrupt());
    if (opened.index() == 1) {  // not yet connected, so nothing was said
        printer_->state("idle");
        co_return ExitStatus::ended;
    }
    auto& stream = std::get<0>(opened);
    if (!stream) {
        printer_->state("error");
        const auto* const transport = stream.error().as<TarnServerError::Transport>();
        const bool refused = transport != nullptr && transport->error.httpStatus == 401;
        const bool signedOut = refused || stream.error().meansSignedOut();
        fail(diagnosis(stream.error()) + (signedOut ? "; sign in with: tarn-cli login" : ""));
        co_return signedOut ? ExitStatus::notSignedIn : status_;
    }

    printer_->state("running");
    auto reader = asio::co_spawn(context_, readEvents(*stream), asio::experimental::use_promise);
    auto ended = co_await (feed(*stream, **input) || (*stream)->waitDead() || waitForInterrupt() || waitForReaderOfOutput());
    printer_->state("stopping");
    co_await (*stream)->close();
    co_await reader(asio::use_awaitable);
    if (refused_) {
        printer_->state("error");
        fail("the server refused the access token; sign in again");
        co_return ExitStatus::notSignedIn;
    }
    if (ended.index() == 1) {
        printer_->state("error");
        fail("the connection ended: " + std::get<1>(ended));
        co_return status_;
    }
    printer_->state("idle");
    co_return printer_->isWritable() ? status_ : ExitStatus::failed;
}

Task<void> TranslationRun::readEvents(std::shared_ptr<TarnTranslateStream> stream) {
    for (;;) {
        const auto event = co_await stream->events().next();
        if (!event) {
            co_return;
        }
        progress_.note(*event, std::chrono::steady_clock::now());
        printer_->event(*event);
        if (const auto* const audio = std::get_if<translate::TranslatedAudio>(&*event)) {
            keepAudio(*audio);
        }
        refused_ = refused_ || std::holds_alternative<translate::Unauthorized>(*event);
        if (!printer_->isWritable()) {
            outputGone_.cancel();
        }
    }
}

Task<void> TranslationRun::feed(std::shared_ptr<TarnTranslateStream> stream, InputSource& input) {
    // A piece leaves when its last sample would have been spoken.
    auto due = std::chrono::steady_clock::now();
    milliseconds sent{0};
    const auto limit = options_.duration ? milliseconds(static_cast<long>(*options_.duration * 1000)) : milliseconds::max();
    while (sent < limit) {
        auto piece = co_await input.next();
        if (!piece) {
            fail(piece.error().description);
            break;
        }
        if (!*piece) {
            break;
        }
        const auto length = lengthOf((*piece)->size());
        if (options_.pace == Pace::realTime) {
            due = std::max(due + length, std::chrono::steady_clock::now() - mostCatchUp);
            co_await sleepUntil(due);
        }
        co_await stream->sendAudio(std::move(**piece));
        sent += length;
    }
    co_await drain(stream);
}

Task<void> TranslationRun::drain(std::shared_ptr<TarnTranslateStream> stream) {
    const auto start = std::chrono::steady_clock::now();
    const auto end = start + milliseconds(static_cast<long>(options_.drain * 1000));
    const auto noticed = start + milliseconds(std::max(options_.silenceMs, 0)) + noticeTime;
    const std::vector<std::byte> silence(InputSource::bytesPerSecond / 1000 *
                                         static_cast<std::size_t>(InputSource::pieceLength.count()));
    auto due = start;
    for (;;) {
        const auto now = std::chrono::steady_clock::now();
        if (now >= end || (now >= noticed && progress_.isSettled(now, quietTime))) {
            co_return;
        }
        due += InputSource::pieceLength;
        co_await sleepUntil(due);
        co_await stream->sendAudio(silence);
    }
}

Task<void> TranslationRun::waitForInterrupt() {
    asio::signal_set signals(context_, SIGINT, SIGTERM);
    co_await signals.async_wait(asValue);
}

Task<void> TranslationRun::waitForReaderOfOutput() {
    while (printer_->isWritable()) {
        co_await outputGone_.async_wait(asValue);
    }
}

void TranslationRun::keepAudio(const translate::TranslatedAudio& audio) {
    if (!dub_) {
        return;
    }
    const auto written = dub_->write(audio.bytes);
    if (!written) {
        fail(written.error().description);
        dub_.reset();
    }
}

void TranslationRun::fail(const std::string& text) {
    complain(text);
    status_ = ExitStatus::failed;
}

}  // namespace tarn::cli
