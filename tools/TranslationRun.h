#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "EventPrinter.h"
#include "InputSource.h"
#include "Options.h"
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
    Task<void> readEvents(std::shared_ptr<TarnTranslateStream> stream);
    Task<void> feed(std::shared_ptr<TarnTranslateStream> stream, InputSource& input);
    Task<void> drain(std::shared_ptr<TarnTranslateStream> stream);
    Task<void> waitForInterrupt();
    Task<void> waitForReaderOfOutput();
    void keepAudio(const translate::TranslatedAudio& audio);
    void fail(const std::string& text);

    asio::io_context& context_;
    const RunOptions options_;
    const std::shared_ptr<TarnServerClient> server_;
    const std::unique_ptr<EventPrinter> printer_;
    RunProgress progress_;
    std::optional<SoundFileWriter> dub_;
    asio::steady_timer outputGone_;  ///< cancelled when standard output takes no more
    bool refused_ = false;           ///< the server refused the token
    ExitStatus status_ = ExitStatus::ended;
};

}  // namespace tarn::cli
