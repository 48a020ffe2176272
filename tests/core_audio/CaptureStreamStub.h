#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "TarnPlatform/capture/CaptureService.h"
#include "TarnPlatform/capture/CaptureStream.h"

namespace tarn::test {

/// A stream that captures nothing and does as it is told.
class CaptureStreamStub : public CaptureStream {
public:
    std::vector<std::pair<StreamOutputType, std::shared_ptr<StreamOutput>>> outputs;
    std::vector<std::string> queues;  ///< names of their threads
    Result<void> addScreen;
    Result<void> addAudio;
    Result<void> start;
    int starts = 0;

    Result<void> addStreamOutput(std::shared_ptr<StreamOutput> output, StreamOutputType type,
                                 std::shared_ptr<SerialQueue> sampleHandlerQueue) override;
    Task<Result<void>> startCapture() override;
    void stopCapture(std::function<void(Result<void>)> completionHandler) override { completionHandler({}); }
};

/// A desktop with the content and the stream that a test gives it.
class CaptureServiceStub : public CaptureService {
public:
    Result<ShareableContent> content;
    std::shared_ptr<CaptureStreamStub> stream = std::make_shared<CaptureStreamStub>();
    std::vector<std::pair<bool, bool>> questions;
    std::optional<ContentFilter> filter;
    std::optional<StreamConfiguration> configuration;
    std::shared_ptr<StreamDelegate> delegate;

    Task<Result<ShareableContent>> getShareableContent(bool excludingDesktopWindows,
                                                       bool onScreenWindowsOnly) override;
    std::shared_ptr<CaptureStream> makeStream(const ContentFilter& itsFilter,
                                              const StreamConfiguration& itsConfiguration,
                                              std::weak_ptr<StreamDelegate> itsDelegate) override;
};

}  // namespace tarn::test
