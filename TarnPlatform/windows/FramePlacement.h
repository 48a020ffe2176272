#pragma once

#include <QRect>
#include <QSize>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tarn {

/// The place of a window that was remembered, as plain arithmetic. Units: device-independent pixels.
class FramePlacement {
public:
    /// "x y width height".
    static std::string text(QRect frame);
    /// Nothing where the text is not that of a frame.
    static std::optional<QRect> frame(std::string_view text);

    /// `frame` as it is while the screens show all of it. Otherwise within the screen that shows most of it
    /// or is the nearest, as large as that screen at most and `minimum` at least.
    static QRect onScreens(QRect frame, std::span<const QRect> screens, QSize minimum);
};

}  // namespace tarn
