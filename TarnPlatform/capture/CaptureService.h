#pragma once

#include <memory>

#include "CaptureStream.h"
#include "ContentFilter.h"
#include "ShareableContent.h"

namespace tarn {

class AudioServer;

/// What the desktop offers to capture, and captures of it. Thread: any.
class CaptureService {
public:
    virtual ~CaptureService() = default;

    /// Ends within twice `AudioServer::answerLimit`, and never blocks the caller's executor. Windows make no
    /// difference to what plays. Fails when the audio server is not there or does not answer.
    virtual Task<Result<ShareableContent>> getShareableContent(bool excludingDesktopWindows,
                                                               bool onScreenWindowsOnly) = 0;

    /// `delegate` is told as long as it lives.
    virtual std::shared_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                                      const StreamConfiguration& configuration,
                                                      std::weak_ptr<StreamDelegate> delegate) = 0;

    /// The one over the process's own connection, kept until the process ends.
    static CaptureService& shared();
    /// One over `server`, which must outlive it and its streams.
    static std::unique_ptr<CaptureService> make(AudioServer& server);
};

}  // namespace tarn
