#pragma once

#include <string>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// Facts about the X server and its window manager, for people who look for a fault. Value type.
struct DisplayFacts {
    std::string display{};        ///< ":0"
    bool isXwayland = false;      ///< the session is Wayland's
    std::string windowManager{};  ///< empty: none
    bool hasCompositor = false;   ///< windows can be translucent
    bool staysAbove = false;      ///< the window manager knows of windows above others

    /// Over a connection of its own. Fails with `unavailable` where no X server answers. Blocks as long as a
    /// server that hangs; thread: any.
    static Result<DisplayFacts> read();
};

}  // namespace tarn
