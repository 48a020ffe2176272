#pragma once

#include <string>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// Which window system the program's windows are made on.
struct WindowSystem {
    /// Chooses one and tells Qt through the environment, unless the user has: X11, which under Wayland is its
    /// Xwayland, since a window of Wayland's own can neither stay on top nor know its place; Wayland where
    /// there is nothing else. Fails with `unavailable`, saying what was tried, where none answers: Qt would
    /// abort. Thread: main, before the `QGuiApplication` is made and before other threads read the
    /// environment.
    static Result<void> choose();
};

}  // namespace tarn
