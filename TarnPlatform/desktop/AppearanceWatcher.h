#pragma once

#include <functional>
#include <memory>

#include "AppearanceFacts.h"
#include "TarnPlatform/base/PostedCallback.h"

namespace tarn {

class BusThread;

/// Asks the desktop for its look and listens for changes. Nobody waits for the desktop.
class AppearanceWatcher {
public:
    /// `bus` must outlive this. `told` is called on `executor` with what is known without the bus, and again
    /// at each change; no more once this object is gone.
    AppearanceWatcher(BusThread& bus, SerialExecutor executor,
                      std::function<void(const AppearanceFacts&)> told);
    /// Thread: the executor's.
    ~AppearanceWatcher();
    AppearanceWatcher(const AppearanceWatcher&) = delete;
    AppearanceWatcher& operator=(const AppearanceWatcher&) = delete;

private:
    class Reader;
    BusThread& bus_;
    const PostedCallback<AppearanceFacts> told_;
    std::unique_ptr<Reader> reader_;  ///< on the bus's thread
};

}  // namespace tarn
