#pragma once

class QSize;
class QWindow;

namespace tarn {

/// What windows ask of an X11 desktop beyond what Qt asks for. Nothing happens on other platforms.
/// Thread: main. Requires: a window that has been shown at least once.
class WindowHints {
public:
    /// Shows the window on every desktop. Window managers forget it when a window is hidden and take no
    /// notice before it is shown: to be asked for after every show.
    static void showOnEveryDesktop(QWindow& window);

    /// Asks the compositor to blur what lies behind the window, within corners of `radius`. For the size that
    /// the window has now.
    static void blurBehind(QWindow& window, int radius);
    static void removeBlur(QWindow& window);

    /// Lets the pointer's clicks and wheel go to what lies below the window, or no longer. On every platform.
    static void letPointerThrough(QWindow& window, bool through);

    /// Cuts the window's corners off, for desktops where they cannot be transparent; radius 0: leaves it
    /// whole. For the size that the window has now. On every platform.
    static void cutCorners(QWindow& window, int radius);
};

}  // namespace tarn
