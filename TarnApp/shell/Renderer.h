#pragma once

#include <string_view>

namespace tarn {

/// How windows are drawn: by the processor, which starts sooner and needs less of everything for what this
/// program shows, or by the graphics card. The variable TARN_RENDERER chooses: "software" (or nothing) or
/// "gl".
struct Renderer {
    /// Before the first window. A value that is neither is said in one line and taken as "software"; where
    /// the user has told Qt itself (QT_QUICK_BACKEND), that holds.
    static void choose();
};

}  // namespace tarn
