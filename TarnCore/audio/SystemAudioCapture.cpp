#include "SystemAudioCapture.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "SoundErrorText.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/PreferredLanguages.h"

namespace tarn {

namespace {

std::unexpected<Error> captureError(CaptureErrorCode code, std::string description) {
    return std::unexpected(Error{.kind = ErrorKind::unavailable,
                                 .description = std::move(description),
                                 .domain = captureErrorDomain,
                                 .code = static_cast<int>(code)});
}

Result<ContentFilter> filterFor(const ShareableContent& content, const std::string& bundleID) {
    if (content.displays.empty()) {
        return captureError(CaptureErrorCode::noDisplay, "no display");
    }
    const auto& display = content.displays.front();
    const auto& applications = content.applications;
    if (!bundleID.empty()) {
        const auto app = std::ranges::find(applications, bundleID, &RunningApplication::bundleIdentifier);
        if (app == applications.end()) {
            return captureError(CaptureErrorCode::appNotFound,
                                text(SoundErrorText::appNotFound, preferredTextLanguage(), {bundleID}));
        }
        logLine("[capture] restricted to app: " + app->applicationName + " (" + bundleID + ")");
        return ContentFilter::including(display, {*app});
    }
    const auto self =
        std::ranges::find(applications, std::int64_t{::getpid()}, &RunningApplication::processID);
    if (self == applications.end()) {
        return ContentFilter::excluding(display, {});
    }
    logLine("[capture] self in SCK app list (" + self->bundleIdentifier +
            " pid=" + std::to_string(self->processID) + ") — will be excluded");
    return ContentFilter::excluding(display, {*self});
}

StreamConfiguration captureConfiguration() {
    return {.capturesAudio = true,
            .excludesCurrentProcessAudio = true,
            .sampleRate = 48000,
            .channelCount = 2,
            .width = 2,
            .height = 2,
            .minimumFrameInterval = std::chrono::seconds(1),
            .showsCursor = false};
}

}  // namespace

Task<Result<std::shared_ptr<CaptureStream>>> startSystemAudioCapture(
    std::shared_ptr<AudioSink> into, std::optional<std::string> restrictedToBundleID,
    CaptureService& service) {
    const auto content = co_await service.getShareableContent(false, false);
    if (!content) {
        co_return std::unexpected(content.error());
    }
    const auto filter = filterFor(*content, restrictedToBundleID.value_or(""));
    if (!filter) {
        co_return std::unexpected(filter.error());
    }
    const auto stream = service.makeStream(*filter, captureConfiguration(), into);
    const auto video = std::make_shared<SerialQueue>("tarn.video.recv");
    if (const auto added = stream->addStreamOutput(into, StreamOutputType::screen, video); !added) {
        co_return std::unexpected(added.error());
    }
    const auto audio = std::make_shared<SerialQueue>("tarn.audio.recv");
    if (const auto added = stream->addStreamOutput(into, StreamOutputType::audio, audio); !added) {
        co_return std::unexpected(added.error());
    }
    if (const auto started = co_await stream->startCapture(); !started) {
        co_return std::unexpected(started.error());
    }
    co_return stream;
}

}  // namespace tarn
