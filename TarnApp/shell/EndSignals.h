#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace tarn {

/// Turns the signals that ask a program to end (interrupt, terminate, hang-up) into a call on the main
/// thread. One for the process; a second signal ends it at once. Thread: main.
class EndSignals {
public:
    explicit EndSignals(std::function<void()> asked);
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

private:
    std::function<void()> asked_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace tarn
