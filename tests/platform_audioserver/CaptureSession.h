#pragma once

#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <future>
#include <memory>
#include <string>
#include <utility>

#include "CaptureProbe.h"
#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/capture/CaptureService.h"
#include "support/LogCapture.h"
#include "support/RunTask.h"
#include "support/audio/PrivateAudioServer.h"

namespace tarn::test {

/// A private audio session and captures of what its programs play. One at a time.
class CaptureSession {
public:
    explicit CaptureSession(const AudioServerOptions& options = {}) : session(options) {}

    struct Capture {
        std::shared_ptr<CaptureProbe> probe = std::make_shared<CaptureProbe>();
        std::shared_ptr<CaptureStream> stream;
        Result<void> started;

        /// Whether it ran until now.
        bool stop() const {
            std::promise<bool> stopped;
            stream->stopCapture([&](const Result<void>& result) { stopped.set_value(result.has_value()); });
            return stopped.get_future().get();
        }
    };

    Capture capture(const ContentFilter& filter) {
        Capture made;
        made.stream = service->makeStream(filter, configuration(), made.probe);
        made.started = made.stream->addStreamOutput(made.probe, StreamOutputType::audio,
                                                    std::make_shared<SerialQueue>("test"));
        if (made.started) {
            made.started = runTask(context, made.stream->startCapture());
        }
        return made;
    }
    Capture captureAll() { return capture(ContentFilter::excluding({}, {})); }
    Capture captureApplication(const std::string& identifier) {
        return capture(ContentFilter::including({}, {{.bundleIdentifier = identifier}}));
    }

    static StreamConfiguration configuration() {
        StreamConfiguration wanted;
        wanted.capturesAudio = true;
        wanted.excludesCurrentProcessAudio = true;
        return wanted;
    }

    LogCapture log;
    PrivateAudioServer session;
    AudioServer server;
    std::unique_ptr<CaptureService> service = CaptureService::make(server);
    asio::io_context context{1};
};

}  // namespace tarn::test
