#include "CaptureStreamStub.h"

#include <pthread.h>

#include <array>

namespace tarn::test {

Result<void> CaptureStreamStub::addStreamOutput(std::shared_ptr<StreamOutput> output, StreamOutputType type,
                                                std::shared_ptr<SerialQueue> sampleHandlerQueue) {
    outputs.emplace_back(type, std::move(output));
    queues.push_back(sampleHandlerQueue->sync([] {
        std::array<char, 16> name{};
        ::pthread_getname_np(::pthread_self(), name.data(), name.size());
        return std::string(name.data());
    }));
    return type == StreamOutputType::screen ? addScreen : addAudio;
}

Task<Result<void>> CaptureStreamStub::startCapture() {
    ++starts;
    co_return start;
}

Task<Result<ShareableContent>> CaptureServiceStub::getShareableContent(bool excludingDesktopWindows,
                                                                       bool onScreenWindowsOnly) {
    questions.emplace_back(excludingDesktopWindows, onScreenWindowsOnly);
    co_return content;
}

std::shared_ptr<CaptureStream> CaptureServiceStub::makeStream(const ContentFilter& itsFilter,
                                                              const StreamConfiguration& itsConfiguration,
                                                              std::weak_ptr<StreamDelegate> itsDelegate) {
    filter = itsFilter;
    configuration = itsConfiguration;
    delegate = itsDelegate.lock();
    return stream;
}

}  // namespace tarn::test
