#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "DubFile.h"
#include "EventPrinter.h"
#include "InputSource.h"
#include "Options.h"
#include "OutputWriter.h"
#include "RunProgress.h"
#include "StreamTap.h"
#include "TarnApp/session/TranslateViewModel.h"
#include "TarnPlatform/base/EventQueue.h"
#include "TranscriptSaver.h"

namespace tarn::cli {

/// One translation: the application's own sessions, one for each source, and their events as lines and a WAV
/// file. Made with `std::make_shared`. Thread: the main context's only.
class TranslationRun : public StreamObserver, public std::enable_shared_from_this<TranslationRun> {
public:
    TranslationRun(asio::io_context& context, const Options& options);
    ~TranslationRun() override;

    /// Runs to the end of the input, an interrupt, or a failure, which has then been said on standard error.
    static Task<ExitStatus> run(std::shared_ptr<TranslationRun> self);

    void opened(std::shared_ptr<TappedStream> stream) override;
    void failedToOpen(const TarnServerError& error) override;
    void event(const TappedStream& stream, const TarnTranslateEvent& event) override;
    void ended(const TappedStream& stream) override;

private:
    /// One session and what came of it.
    struct Source {
        std::shared_ptr<TranslateSession> session;
        RunProgress progress = {};
        std::string shownState = {};
        bool ran = false;             ///< the session has said that it runs
        std::string complaint = {};   ///< what the relay complained of last
        bool complainedLast = false;  ///< nothing has come since
    };

    struct OpenStream {
        std::shared_ptr<TappedStream> stream;
        std::optional<std::size_t> source;                       ///< whose it is, once that is known
        bool ended = false;                                      ///< its last event has been seen
        std::optional<Clock::TimePoint> heardAt = std::nullopt;  ///< when the server had read all the sound
    };

    Task<bool> prepare();
    Task<void> translate();
    Task<bool> waitUntilRunning();
    Task<bool> waitForEnd();
    Task<void> drain();
    Task<void> stopAll();
    Task<void> endSaving();
    Task<void> endOutput();

    ViewModelServices services();
    static Task<Result<std::shared_ptr<CaptureStream>>> startInput(std::weak_ptr<TranslationRun> weak,
                                                                   std::shared_ptr<AudioSink> sink,
                                                                   SerialExecutor main,
                                                                   std::shared_ptr<Clock> clock);
    void configure();
    Task<void> takeServersLanguages();
    void watch(std::size_t number);

    // What happens is noted in the fields below, and whoever waits is told.
    void endInput(const std::optional<Error>& error);
    void listenFor(Task<void> task);
    void ring() { bell_.push({}); }
    static Task<void> watchTime(std::shared_ptr<TranslationRun> self, Clock::Duration duration);
    static Task<void> endAccountWait(std::shared_ptr<TranslationRun> self);
    static Task<void> watchInterrupts(std::shared_ptr<TranslationRun> self);
    static Task<void> watchStream(std::shared_ptr<TranslationRun> self, std::shared_ptr<TappedStream> stream);
    static Task<void> watchHeard(std::shared_ptr<TranslationRun> self, std::shared_ptr<TappedStream> stream);
    static Task<void> watchSaving(std::shared_ptr<TranslationRun> self);
    static Task<void> watchOutput(std::shared_ptr<TranslationRun> self);
    bool isCutShort() const {
        return interrupted_ || output_.failure() || refused_ || deathReason_ || fileFailed_ || capturesEnded_;
    }

    OpenStream* openStream(const TappedStream& stream);
    std::optional<std::size_t> sourceOf(const TappedStream& stream);
    void stateChanged(std::size_t number);
    void healthChanged(std::size_t number);
    void showState(std::size_t number, const std::string& value);
    void announceSources();
    /// Why a source did not come up; nothing while it still may.
    static std::optional<std::string> startFailure(const Source& source);
    void sayWhyConnectionEnded();
    /// When the servers of all streams had read what was to be translated; nothing as long as one has not.
    std::optional<Clock::TimePoint> heardAt() const;
    void save(Utterance utterance);
    void keepAudio(const TappedStream& stream, const translate::TranslatedAudio& audio);
    void fail(const std::string& text, ExitStatus status = ExitStatus::failed);

    asio::io_context& context_;
    const DeploymentValues deployment_;
    const RunOptions options_;
    asio::signal_set interrupts_;
    OutputWriter output_;
    const std::unique_ptr<EventPrinter> printer_;
    std::shared_ptr<TranslateViewModel> model_;
    std::vector<Source> sources_;
    std::vector<OpenStream> streams_;  ///< all that were opened
    std::unique_ptr<InputSource> input_;
    DubFile dub_;
    TranscriptSaver saver_;
    std::optional<TarnServerError> openError_;  ///< of the stream that did not open
    std::vector<TaskHandle> listeners_;

    EventQueue<std::monostate> bell_;
    bool fileFailed_ = false;  ///< a file cannot be made, or the WAV file would never end
    bool isSignInKnown_ = false;
    bool isAccountChecked_ = false;  ///< or has been waited for long enough
    bool inputEnded_ = false;
    bool inputFailed_ = false;
    bool timeIsUp_ = false;                   ///< the asked duration
    bool refused_ = false;                    ///< the server refused the token
    bool capturesEnded_ = false;              ///< of all sources, by themselves
    bool interrupted_ = false;                ///< by Ctrl-C or SIGTERM
    std::optional<std::string> deathReason_;  ///< of a stream that died by itself
    ExitStatus status_ = ExitStatus::ended;
};

}  // namespace tarn::cli
