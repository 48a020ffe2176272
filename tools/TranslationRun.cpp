#include "TranslationRun.h"

#include <sys/stat.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/experimental/promise.hpp>
#include <boost/asio/experimental/use_promise.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <chrono>
#include <csignal>

namespace tarn::cli {
namespace {

using namespace asio::experimental::awaitable_operators;
using std::chrono::milliseconds;
using SteadyTime = std::chrono::steady_clock::time_point;

/// Beyond the silence that ends an utterance: what a distant service needs to notice and to answer.
constexpr milliseconds noticeTime{2500};
/// An input that fell behind may catch up by this much, faster than real time.
constexpr milliseconds mostCatchUp{1000};
/// After an interrupt a reader of our output that has stopped reading is not waited for longer.
constexpr milliseconds outputLimit{2000};

Task<void> sleepUntil(SteadyTime time) {
    asio::steady_timer timer(co_await asio::this_coro::executor, time);
    co_await timer.async_wait(asValue);
}

milliseconds lengthOf(std::size_t bytes) {
    return milliseconds(bytes * 1000 / InputSource::bytesPerSecond);
}

milliseconds toMilliseconds(double seconds) {
    return milliseconds(static_cast<long long>(seconds * 1000));
}

}  // namespace

TranslationRun::TranslationRun(asio::io_context& context, RunOptions options,
                               std::shared_ptr<TarnServerClient> server)
    : options_(std::move(options)),
      server_(std::move(server)),
      interrupts_(context, SIGINT, SIGTERM),
      output_(context.get_executor()),
      printer_(EventPrinter::make(
          options_, std::chrono::steady_clock::now(),
          [writer = output_](std::string text) mutable { writer.write(std::move(text)); })) {}

Task<ExitStatus> TranslationRun::run() {
    const auto executor = co_await asio::this_coro::executor;
    auto input = openInput(options_.input, executor);
    if (!input) {
        fail(input.error().description);
        co_return status_;
    }
    if (wouldOverwriteInput()) {
        fail("--dub names the input file: it would be overwritten", ExitStatus::wrongArguments);
        co_return status_;
    }
    auto writing = asio::co_spawn(executor, output_.run(), asio::experimental::use_promise);
    printer_->state("connecting");
    const auto silence = options_.silenceMs >= 1 ? std::optional(options_.silenceMs) : std::nullopt;
    auto opening = server_->openTranslateStream(options_.sourceLang, options_.targetLang, options_.voice,
                                                options_.voiceClone, silence);
    auto opened = co_await (std::move(opening) || waitForInterrupt());
    if (opened.index() == 1) {
        printer_->state("idle");
    } else if (auto& stream = std::get<0>(opened); stream) {
        co_await translate(*stream, **input);
    } else {
        printer_->state("error");
        const bool signedOut = stream.error().meansSignedOut();
        fail(diagnosis(stream.error()) + (signedOut ? "; sign in with: tarn-cli login --token-stdin" : ""),
             signedOut ? ExitStatus::notSignedIn : ExitStatus::failed);
    }
    co_await (endOutput() || writing(asio::use_awaitable));
    if (output_.failure()) {
        fail("standard output takes no more: " + *output_.failure());
    }
    co_return status_;
}

Task<void> TranslationRun::translate(std::shared_ptr<TarnTranslateStream> stream, InputSource& input) {
    const auto executor = co_await asio::this_coro::executor;
    printer_->state("running");
    if (options_.dubFile) {
        auto writer = SoundFileWriter::create(*options_.dubFile, 24000);
        if (!writer) {
            fail(writer.error().description);
            co_await stream->close();
            co_return;
        }
        dub_ = std::move(*writer);
    }
    auto reading = asio::co_spawn(executor, readEvents(stream), asio::experimental::use_promise);
    auto ended = co_await (feed(stream, input) || stream->waitDead() || waitForInterrupt() ||
                           output_.waitForFailure());
    printer_->state("stopping");
    co_await stream->close();
    co_await reading(asio::use_awaitable);
    if (refused_) {
        printer_->state("error");
        fail("the server refused the access token; sign in with: tarn-cli login --token-stdin",
             ExitStatus::notSignedIn);
    } else if (ended.index() == 1) {
        printer_->state("error");
        fail("the connection ended: " + std::get<1>(ended));
    } else {
        printer_->state("idle");
    }
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
    }
}

Task<void> TranslationRun::feed(std::shared_ptr<TarnTranslateStream> stream, InputSource& input) {
    if (options_.duration) {
        const auto end = std::chrono::steady_clock::now() + toMilliseconds(*options_.duration);
        co_await (feedInput(stream, input) || sleepUntil(end));
    } else {
        co_await feedInput(stream, input);
    }
    co_await drain(stream);
    if (!progress_.isFinal()) {
        complain("the last utterance had no final text within the drain time");
    }
}

Task<void> TranslationRun::feedInput(std::shared_ptr<TarnTranslateStream> stream, InputSource& input) {
    // A piece leaves when its last sample would have been spoken.
    auto due = std::chrono::steady_clock::now();
    for (;;) {
        auto piece = co_await input.next();
        if (!piece) {
            fail(piece.error().description);
            co_return;
        }
        if (!*piece) {
            co_return;
        }
        if (options_.pace == Pace::realTime) {
            due = std::max(due + lengthOf((*piece)->size()), std::chrono::steady_clock::now() - mostCatchUp);
            co_await sleepUntil(due);
        }
        co_await stream->sendAudio(std::move(**piece));
    }
}

Task<void> TranslationRun::drain(std::shared_ptr<TarnTranslateStream> stream) {
    const auto start = std::chrono::steady_clock::now();
    const auto end = start + toMilliseconds(options_.drain);
    const auto noticed = start + milliseconds(std::max(options_.silenceMs, 0)) + noticeTime;
    const std::vector<std::byte> silence(InputSource::bytesPerSecond / 1000 *
                                         static_cast<std::size_t>(InputSource::pieceLength.count()));
    auto due = start;
    for (;;) {
        const auto now = std::chrono::steady_clock::now();
        if (now >= end || (now >= noticed && progress_.isSettled(now))) {
            co_return;
        }
        due += InputSource::pieceLength;
        co_await sleepUntil(due);
        co_await stream->sendAudio(silence);
    }
}

Task<void> TranslationRun::waitForInterrupt() {
    const auto [error, number] = co_await interrupts_.async_wait(asValue);
    interrupted_ = interrupted_ || !error;
}

Task<void> TranslationRun::endOutput() {
    output_.finish();
    if (interrupted_) {
        co_await sleepUntil(std::chrono::steady_clock::now() + outputLimit);
    } else {
        co_await waitForInterrupt();
    }
}

bool TranslationRun::wouldOverwriteInput() const {
    struct stat in{};
    struct stat out{};
    return options_.dubFile && options_.input != "-" && ::stat(options_.input.c_str(), &in) == 0 &&
           ::stat(options_.dubFile->c_str(), &out) == 0 && in.st_dev == out.st_dev && in.st_ino == out.st_ino;
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

void TranslationRun::fail(const std::string& text, ExitStatus status) {
    complain(text);
    status_ = status;
}

}  // namespace tarn::cli
