#pragma once

#include <QImage>
#include <QSizeF>

namespace tarn {

/// The soft dark surroundings of a subtitle, which set it off from any picture: darkest beside a letter,
/// nothing `reach` points from it. Drawn for each text, so it is worked out on a grid of two points; what is
/// drawn from it is to be stretched to the size of the text.
struct SubtitleHalo {
    static constexpr int reach = 8;  ///< points

    /// Of what is opaque in `text`, which is of `size` points.
    static QImage around(const QImage& text, const QSizeF& size);
};

}  // namespace tarn
