#pragma once

#include <functional>
#include <memory>

#include "AppearanceFacts.h"
#include "TarnPlatform/base/Asio.h"

namespace tarn {

/// Asks the desktop for its look and listens for changes, on a thread of its own: whatever of the desktop
/// does not answer, nobody waits for it.
class AppearanceWatcher {
public:
    /// `told` is called on `executor` with what is known by then, and again at each change; no more once this
    /// object is gone.
    AppearanceWatcher(SerialExecutor executor, std::function<void(const AppearanceFacts&)> told);
    /// Thread: the executor's.
    ~AppearanceWatcher();
    AppearanceWatcher(const AppearanceWatcher&) = delete;
    AppearanceWatcher& operator=(const AppearanceWatcher&) = delete;

private:
    class Reader;
    const std::shared_ptr<Reader> reader_;
};

}  // namespace tarn
