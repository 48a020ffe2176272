#pragma once

#include <atomic>

#include "TarnPlatform/base/UniqueDescriptor.h"

namespace tarn {

/// Ends, for good, every wait for the children that were started with it: such a call fails with `cancelled`,
/// as does every later start. Thread: any.
class StopSignal {
public:
    StopSignal();

    void raise();
    bool raised() const { return raised_; }

    /// Readable once the signal is raised. -1 where the system had none to give: waits then last until their
    /// own deadlines.
    int descriptor() const { return event_.get(); }

private:
    UniqueDescriptor event_;
    std::atomic<bool> raised_ = false;
};

}  // namespace tarn
