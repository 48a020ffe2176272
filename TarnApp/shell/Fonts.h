#pragma once

namespace tarn {

/// The application's font for every script that it shows.
struct Fonts {
    /// Names, behind the desktop's own font, those that hold Chinese, Japanese and Korean and colour emoji.
    /// Without them the toolkit asks for the glyphs of each such text through all the fonts of the system,
    /// which takes tens of milliseconds at the start. What is not installed is passed over. Thread: main,
    /// before the first text.
    static void choose();
    /// Loads what the main window's first frame is written in. It would do so itself, later: this is for a
    /// moment in which the main thread waits anyway.
    static void warmUp();
};

}  // namespace tarn
