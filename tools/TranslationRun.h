#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <memory>
#include <optional>
#include <string>

#include "EventPrinter.h"
#include "InputSource.h"
#include "Options.h"
#include "OutputWriter.h"
#include "RunProgress.h"
#include "TarnApp/server/TarnServerClient.h"
#include "TarnPlatform/audio/SoundFile.h"

namespace tarn::cli {

/// One translation from a recording or a pipe: input → stream → events → lines and a WAV file.
/// Thread: the main context's only.
class TranslationRun {
public:
    TranslationRun(asio::io_context& context, RunOptions options, std::shared_ptr<TarnServerClient> server);

    /// Runs to the end of the input, an interrupt, or a failure, which has then been said on standard error.
    Task<ExitStatus> run();

private:
    Task<void> translate(std::shared_ptr<TarnTranslateStream> stream, InputSource& input);
    Task<void> readEvents(std::shared_ptr<TarnTranslateStream> stream);
    Task<void> feed(std::shared_ptr<TarnTranslateStream> stream, InputSource& input);
    Task<void> feedInput(std::shared_ptr<TarnTranslateStream> stream, InputSource& input);
    Task<void> drain(std::shared_ptr<TarnTranslateStream> stream);
    Task<void> waitForInterrupt();
    Task<void> endOutput();
    bool wouldOverwriteInput() const;
    void keepAudio(const translate::TranslatedAudio& audio);
    void fail(const std::string& text, ExitStatus status = ExitStatus::failed);

    const RunOptions options_;
    const std::shared_ptr<TarnServerClient> server_;
    asio::signal_set interrupts_;
    OutputWriter output_;
    const std::unique_ptr<EventPrinter> printer_;
    RunProgress progress_;
    std::optional<SoundFileWriter> dub_;
    bool refused_ = false;      ///< the server refused the token
    bool interrupted_ = false;  ///< by Ctrl-C or SIGTERM
    ExitStatus status_ = ExitStatus::ended;
};

}  // namespace tarn::cli
