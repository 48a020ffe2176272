#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>

#include "InputSource.h"
#include "Options.h"
#include "TarnPlatform/audio/PcmBuffer.h"
#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/base/TaskHandle.h"
#include "TarnPlatform/capture/CaptureStream.h"

namespace tarn::cli {

/// A recording or a pipe in the place of captured sound: delivers it in real time, or as fast as it is taken,
/// and silence in real time from its end on. Thread: that of its executor, deliveries included.
class InputCapture final : public CaptureStream, public std::enable_shared_from_this<InputCapture> {
public:
    struct Parts {
        std::unique_ptr<InputSource> input;
        Pace pace = Pace::realTime;
        SerialExecutor executor;
        std::shared_ptr<Clock> clock;
        std::function<void(const PcmBuffer&)> deliver;
        std::function<Task<void>()> waitForRoom;             ///< completes when more may be sent
        std::function<void(std::optional<Error>)> atItsEnd;  ///< once; with what went wrong, where it did
    };

    explicit InputCapture(Parts parts) : parts_(std::move(parts)) {}

    /// Has none but `Parts::deliver`.
    Result<void> addStreamOutput(std::shared_ptr<StreamOutput> output, StreamOutputType type,
                                 std::shared_ptr<SerialQueue> sampleHandlerQueue) override;
    Task<Result<void>> startCapture() override;
    void stopCapture(std::function<void(Result<void>)> completionHandler) override;

private:
    static Task<void> feed(std::shared_ptr<InputCapture> self);
    static Task<void> feedInput(std::shared_ptr<InputCapture> self);
    void deliver(std::span<const std::byte> piece) const;

    const Parts parts_;
    TaskHandle feeding_;
    Clock::TimePoint due_{};  ///< when the next piece has been spoken
};

}  // namespace tarn::cli
