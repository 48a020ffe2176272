#include "TranslationRun.h"

#include <algorithm>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/experimental/promise.hpp>
#include <boost/asio/experimental/use_promise.hpp>
#include <chrono>
#include <csignal>

#include "InputCapture.h"
#include "RunServices.h"
#include "TarnApp/localization/DurationText.h"
#include "TarnApp/session/Languages.h"
#include "TarnPlatform/base/PreferredLanguages.h"

namespace tarn::cli {
namespace {

using namespace asio::experimental::awaitable_operators;
using std::chrono::milliseconds;

/// The time that a distant service needs to notice the end of an utterance and to answer, in addition to the
/// silence that ends it.
constexpr milliseconds noticeTime{2500};
/// A start does not wait longer than this for the server's languages.
constexpr milliseconds accountLimit{5000};
constexpr const char* signInHint = "; sign in with: tarn-cli login";

/// The interval at which a drain checks whether everything has come.
constexpr milliseconds drainTick{50};
/// After an interrupt a reader that has stopped reading the output is not waited for longer than this.
constexpr milliseconds outputLimit{2000};

Clock::Duration toDuration(double seconds) {
    return milliseconds(static_cast<long long>(seconds * 1000));
}

TranscriptOptions transcriptOptions(const RunOptions& run) {
    TranscriptOptions options;
    options.texts = run.savedTexts;
    options.namesSources = run.isConversation();
    options.isOfRecording = !run.sources.front().input.empty();
    options.gapText = [](double seconds) { return notTranslatedText(seconds, AppLanguage::en); };
    return options;
}

}  // namespace

TranslationRun::TranslationRun(asio::io_context& context, const Options& options)
    : context_(context),
      deployment_(options.deployment),
      options_(options.run),
      interrupts_(context),
      output_(context.get_executor()),
      printer_(EventPrinter::make(
          options_, std::chrono::steady_clock::now(),
          [writer = output_](std::string text) mutable { writer.write(std::move(text)); })),
      dub_(options.run.dubFile),
      saver_(options.run.saved, transcriptOptions(options.run)) {}

TranslationRun::~TranslationRun() = default;

Task<ExitStatus> TranslationRun::run(std::shared_ptr<TranslationRun> self) {
    auto writing = asio::co_spawn(self->context_, self->output_.run(), asio::experimental::use_promise);
    auto saving = asio::co_spawn(self->context_, watchSaving(self), asio::experimental::use_promise);
    if (co_await self->prepare()) {
        co_await self->translate();
    }
    for (TaskHandle& listener : self->listeners_) {
        listener.cancel();
    }
    self->model_.reset();  // its server client holds the run
    co_await (self->endSaving() && saving(asio::use_awaitable));
    co_await (self->endOutput() || writing(asio::use_awaitable));
    if (self->output_.failure()) {
        self->fail("standard output takes no more: " + *self->output_.failure());
    }
    co_return self->status_;
}

/// Finds the errors that can be found before a connection is made.
Task<bool> TranslationRun::prepare() {
    const std::string& path = options_.sources.front().input;
    if (!path.empty()) {
        auto input = openInput(path, context_.get_executor());
        if (!input) {
            fail(input.error().description);
            co_return false;
        }
        input_ = std::move(*input);
    }
    if (options_.dubFile && isSameFile(path, *options_.dubFile)) {
        fail("--dub names the input file: it would be overwritten", ExitStatus::wrongArguments);
        co_return false;
    }
    for (const std::string& saved : options_.saved) {
        if (isSameFile(path, saved)) {
            fail("--save names the input file: it would be overwritten", ExitStatus::wrongArguments);
            co_return false;
        }
    }
    co_return true;
}

Task<void> TranslationRun::translate() {
    leaveOutLinesOfTheEnd();
    useTokenOfEnvironment(deployment_);
    model_ = TranslateViewModel::make(services());
    model_->onAuthLost = [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->refused_ = true;
            self->ring();
        }
    };
    interrupts_.add(SIGINT);
    interrupts_.add(SIGTERM);
    configure();
    listenFor(watchInterrupts(shared_from_this()));
    listenFor(watchOutput(shared_from_this()));
    if (!std::ranges::all_of(options_.sources, &SourceOptions::namesLanguages)) {
        co_await takeServersLanguages();
    }
    model_->startAll();
    if (co_await waitUntilRunning() && co_await waitForEnd()) {
        co_await drain();
    }
    co_await stopAll();
    for (std::size_t number = 0; number < sources_.size(); ++number) {
        showState(number, status_ == ExitStatus::ended ? "idle" : "error");
    }
}

ViewModelServices TranslationRun::services() {
    ConnectionWishes wishes;
    wishes.resumes = options_.resumes;
    if (options_.giveUp > 0) {
        wishes.giveUpAfter = std::chrono::duration<double>(options_.giveUp);
    }
    ViewModelServices services = runServices(context_.get_executor(), deployment_, wishes);
    services.makeServerClient = [make = services.makeServerClient, weak = weak_from_this(),
                                 main = services.session.main, plays = options_.playDub](PatProvider pat) {
        const auto run = weak.lock();
        auto client = make(std::move(pat));
        return run ? tapped(std::move(client), run, main, plays) : client;
    };
    if (!options_.playDub) {
        services.session.makePlayer = silentPlayer;
    }
    if (input_) {
        services.session.watchSound = SessionServices().watchSound;
        services.session.screenCapture = alwaysAllowed();
        services.session.startCapture = [weak = weak_from_this(), main = services.session.main,
                                         clock = services.session.clock](std::shared_ptr<AudioSink> sink,
                                                                         const std::optional<std::string>&) {
            return startInput(weak, std::move(sink), main, clock);
        };
    }
    return services;
}

Task<Result<std::shared_ptr<CaptureStream>>> TranslationRun::startInput(std::weak_ptr<TranslationRun> weak,
                                                                        std::shared_ptr<AudioSink> sink,
                                                                        SerialExecutor main,
                                                                        std::shared_ptr<Clock> clock) {
    const auto self = weak.lock();
    if (!self || !self->input_) {
        co_return failure(ErrorKind::cancelled, "the input has been read");
    }
    InputCapture::Parts parts;
    parts.input = std::move(self->input_);
    parts.pace = self->options_.pace;
    parts.executor = std::move(main);
    parts.clock = std::move(clock);
    parts.waitForRoom = [stream = self->streams_.front().stream] {
        return TappedStream::waitForRoom(stream);
    };
    parts.atItsEnd = [weak](const std::optional<Error>& error) {
        if (const auto run = weak.lock()) {
            run->endInput(error);
        }
    };
    parts.deliver = [sink](const PcmBuffer& buffer) { sink->onPCM(buffer); };
    auto capture = std::make_shared<InputCapture>(std::move(parts));
    static_cast<void>(co_await capture->startCapture());
    co_return std::shared_ptr<CaptureStream>(std::move(capture));
}

void TranslationRun::configure() {
    Record* const record = model_->record();
    QObject::connect(record, &Record::added, record, [this, record](int place) {
        save(record->utterances()[static_cast<std::size_t>(place)]);
    });
    model_->setRate(options_.rate);
    model_->setKeepsUp(options_.keepUp);
    model_->setOthersTurnedDown(-options_.turnOthersDown);
    model_->setOutputGain(options_.volume);
    if (options_.isConversation()) {
        model_->setMode(AppMode::conversation);
    }
    while (model_->sessions().size() < options_.sources.size()) {
        model_->addSession();
    }
    for (std::size_t number = 0; number < options_.sources.size(); ++number) {
        const SourceOptions& source = options_.sources[number];
        const auto& session = model_->sessions()[number];
        session->setCaptureSource(source.input.empty() ? source.capture : CaptureSource::system);
        session->setApplicationBundleID(QString::fromStdString(source.app));
        session->setMicDeviceUID(QString::fromStdString(source.device));
        session->setVoiceProcessing(source.voiceProcessing);
        session->setSourceLang(QString::fromStdString(source.sourceLang));
        session->setTargetLang(QString::fromStdString(source.targetLang));
        session->setVoice(QString::fromStdString(source.voice));
        session->setVoiceClone(QString::fromStdString(source.voiceClone));
        session->setSilenceMs(source.silenceMs);
        sources_.push_back(Source{.session = session});
        watch(number);
    }
}

/// Gives a source that names no languages some that the server has, if the server tells its languages.
Task<void> TranslationRun::takeServersLanguages() {
    QObject::connect(model_.get(), &TranslateViewModel::accountChanged, model_.get(), [this] { ring(); });
    QObject::connect(model_.get(), &TranslateViewModel::accountChecked, model_.get(), [this] {
        // The first check tells whether somebody is signed in, the second one who.
        isAccountChecked_ = std::exchange(isSignInKnown_, true);
        ring();
    });
    auto limit = TaskHandle::start(context_.get_executor(), endAccountWait(shared_from_this()));
    while (!model_->isSignedOut() && !model_->account() && !isAccountChecked_ && !isCutShort()) {
        co_await bell_.next();
    }
    limit.cancel();
    const auto& account = model_->account();
    for (std::size_t number = 0; account && account->languages && number < sources_.size(); ++number) {
        if (options_.sources[number].namesLanguages) {
            continue;
        }
        TranslateSession& session = *sources_[number].session;
        const LanguageWish wish{{session.sourceLang().toStdString(), session.targetLang().toStdString()},
                                {},
                                {},
                                preferredLanguages()};
        if (const auto pair = firstPair(*account->languages, wish)) {
            session.setSourceLang(QString::fromStdString(pair->source));
            session.setTargetLang(QString::fromStdString(pair->target));
            printer_->languages(number, pair->source, pair->target);
            complain("translating " + pair->source + " to " + pair->target +
                     ", which the server can; choose with --from and --to");
        }
    }
}

Task<void> TranslationRun::endAccountWait(std::shared_ptr<TranslationRun> self) {
    co_await sleepFor(Clock::system(), accountLimit);
    self->isAccountChecked_ = true;
    self->ring();
}

std::optional<std::string> TranslationRun::startFailure(const Source& source) {
    const QString& message = source.session->errorMessage();
    const bool failed = source.session->state().kind() == ConnectionState::Case::error && !message.isNull() &&
                        message != QString::fromStdString(source.complaint);
    return failed ? std::optional(message.toStdString()) : std::nullopt;
}

/// Returns false where the run is over before it has begun.
Task<bool> TranslationRun::waitUntilRunning() {
    for (;;) {
        if (model_->screenRecNeededEvent()) {
            fail("the computer's sound cannot be captured: the audio server (PipeWire) is not running");
            co_return false;
        }
        for (const Source& source : sources_) {
            if (const auto why = startFailure(source); why && !refused_) {
                const bool signedOut = model_->isSignedOut() || (openError_ && openError_->meansSignedOut());
                fail((openError_ ? explain(*openError_) : *why) + (signedOut ? signInHint : ""),
                     signedOut ? ExitStatus::notSignedIn : ExitStatus::failed);
                co_return false;
            }
        }
        if (isCutShort()) {
            co_return true;
        }
        if (std::ranges::all_of(sources_, &Source::ran)) {
            break;
        }
        co_await bell_.next();
    }
    announceSources();
    if (options_.duration) {
        listenFor(watchTime(shared_from_this(), toDuration(*options_.duration)));
    }
    co_return true;
}

void TranslationRun::announceSources() {
    for (const SourceOptions& source : options_.sources) {
        if (source.input.empty()) {
            complain("listening to " + describe(source) + (options_.duration ? "" : "; Ctrl-C ends"));
        }
    }
}

/// Returns false where there is nothing left to wait for.
Task<bool> TranslationRun::waitForEnd() {
    while (!isCutShort() && !inputEnded_ && !timeIsUp_) {
        co_await bell_.next();
    }
    if (refused_) {
        fail(std::string("the server refused the access token (401)") + signInHint, ExitStatus::notSignedIn);
    } else if (deathReason_ && !interrupted_) {
        sayWhyConnectionEnded();
    } else if (capturesEnded_ && !interrupted_) {
        fail("listening has ended: the audio server took the capture away");
    }
    co_return !isCutShort() && !inputFailed_;
}

void TranslationRun::sayWhyConnectionEnded() {
    // If a complaint came last it is the reason, and a terminal shows it already.
    const auto complained = std::ranges::find_if(sources_, &Source::complainedLast);
    if (complained == sources_.end()) {
        fail("the connection ended: " + *deathReason_);
    } else if (options_.format == Format::jsonl) {
        fail(complained->complaint);
    } else {
        status_ = ExitStatus::failed;
    }
}

Task<void> TranslationRun::drain() {
    int longestPause = 0;
    for (const Source& source : sources_) {
        longestPause = std::max(longestPause, source.session->silenceMs());
    }
    const auto clock = Clock::system();
    const auto start = clock->now();
    const auto end = start + toDuration(options_.drain);
    const auto notice = milliseconds(longestPause) + noticeTime;
    for (const auto& open : streams_) {
        open.stream->mute();
        listenFor(watchHeard(shared_from_this(), open.stream));
    }
    while (clock->now() < end && !isCutShort()) {
        const auto now = std::chrono::steady_clock::now();
        const auto heard = heardAt();
        if (heard && clock->now() >= *heard + notice &&
            std::ranges::all_of(sources_,
                                [now](const Source& source) { return source.progress.isSettled(now); })) {
            break;
        }
        co_await sleepFor(clock, drainTick);
    }
    if (refused_ || (deathReason_ && !interrupted_)) {
        co_await waitForEnd();
    } else if (!interrupted_ && options_.drain > 0 && !heardAt()) {
        fail("the last sound did not reach the server within the drain time: its translation is missing");
    } else if (!interrupted_ && !std::ranges::all_of(sources_, [](const Source& source) {
                   return source.progress.isFinal();
               })) {
        complain("the last utterance had no final text within the drain time");
    }
}

Task<void> TranslationRun::stopAll() {
    model_->stopAll();
    const auto runs = [](const Source& source) {
        return source.session->state().kind() != ConnectionState::Case::idle;
    };
    while (std::ranges::any_of(sources_, runs) || !std::ranges::all_of(streams_, &OpenStream::ended)) {
        co_await bell_.next();
    }
}

Task<void> TranslationRun::endSaving() {
    co_await saver_.close();
    if (!saver_.isComplete() && status_ == ExitStatus::ended) {
        status_ = ExitStatus::failed;
    }
}

Task<void> TranslationRun::endOutput() {
    output_.finish();
    if (!interrupted_) {
        static_cast<void>(co_await interrupts_.async_wait(asValue));
    } else {
        co_await sleepFor(Clock::system(), outputLimit);
    }
}

}  // namespace tarn::cli
