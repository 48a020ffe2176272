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

Task<Result<ContentFilter>> captureFilter(std::string bundleID, CaptureService& service) {
    const auto content = co_await service.getShareableContent(false, false);
    if (!content) {
        co_return std::unexpected(content.error());
    }
    co_return filterFor(*content, bundleID);
}

Task<Result<std::shared_ptr<CaptureStream>>> startCapture(ContentFilter filter,
                                                          std::shared_ptr<StreamOutput> output,
                                                          std::weak_ptr<StreamDelegate> delegate,
                                                          std::shared_ptr<SerialQueue> queue,
                                                          CaptureService& service) {
    const auto stream = service.makeStream(filter, captureConfiguration(), std::move(delegate));
    const auto video = std::make_shared<SerialQueue>("tarn.video.recv");
    if (const auto added = stream->addStreamOutput(output, StreamOutputType::screen, video); !added) {
        co_return std::unexpected(added.error());
    }
    if (const auto added =
            stream->addStreamOutput(std::move(output), StreamOutputType::audio, std::move(queue));
        !added) {
        co_return std::unexpected(added.error());
    }
    if (const auto started = co_await stream->startCapture(); !started) {
        co_return std::unexpected(started.error());
    }
    co_return stream;
}

Task<Result<std::shared_ptr<CaptureStream>>> startSystemAudioCapture(
    std::shared_ptr<AudioSink> into, std::optional<std::string> restrictedToBundleID,
    CaptureService& service) {
    auto filter = co_await captureFilter(restrictedToBundleID.value_or(""), service);
    if (!filter) {
        co_return std::unexpected(filter.error());
    }
    auto started = co_await startCapture(std::move(*filter), into, into,
                                         std::make_shared<SerialQueue>("tarn.audio.recv"), service);
    co_return started;
}

}  // namespace tarn
