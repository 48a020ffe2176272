#pragma once

class QSize;
class QWindow;

namespace tarn {

/// Hints to an X11 desktop that Qt does not give. They do nothing on other platforms.
/// Thread: main. Requires: a window that has been shown at least once.
class WindowHints {
public:
    /// Shows the window on every desktop. Window managers ignore this before a window is shown and forget it
    /// when the window is hidden, so it has to be asked for after every show.
    static void showOnEveryDesktop(QWindow& window);

    /// Asks the compositor to blur the picture behind the window, within corners of `radius`. Holds for the
    /// window's present size.
    static void blurBehind(QWindow& window, int radius);
    static void removeBlur(QWindow& window);

    /// Lets the pointer's clicks and wheel go to the windows below, or no longer. Works on every platform.
    static void letPointerThrough(QWindow& window, bool through);

    /// Cuts the window's corners off, for desktops where they cannot be transparent; radius 0 leaves it
    /// whole. Holds for the window's present size. Works on every platform.
    static void cutCorners(QWindow& window, int radius);
};

}  // namespace tarn
