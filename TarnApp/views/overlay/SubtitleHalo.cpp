#include "SubtitleHalo.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace tarn {
namespace {

// The halo has no fine detail, so it is computed for a quarter of the points and drawn enlarged.
constexpr qreal grid = 2;
// The weights are those of three boxes of three cells in a row, which approximate a Gaussian.
constexpr std::array<int, 7> bell{1, 3, 6, 7, 6, 3, 1};
constexpr int bellSum = 27;
constexpr int gain = 8;       // strokes are thin, so blurring leaves little of their opacity
constexpr int darkest = 175;  // of 255

/// Blurs `count` values that are `step` apart. Rows and columns are blurred one after the other, since the
/// weights are the product of both directions.
void blur(std::uint8_t* values, std::size_t count, std::size_t step, std::vector<std::uint8_t>& copy) {
    copy.assign(count + bell.size() - 1, 0);
    for (std::size_t i = 0; i < count; ++i) {
        copy[i + bell.size() / 2] = values[i * step];
    }
    for (std::size_t i = 0; i < count; ++i) {
        int sum = 0;
        for (std::size_t k = 0; k < bell.size(); ++k) {
            sum += bell[k] * copy[i + k];
        }
        values[i * step] = static_cast<std::uint8_t>(sum / bellSum);
    }
}

}  // namespace

QImage SubtitleHalo::around(const QImage& text, const QSizeF& size) {
    const QSize cells = (size / grid).toSize().expandedTo({1, 1});
    QImage cover = text.scaled(cells, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                       .convertToFormat(QImage::Format_Alpha8);
    auto* const first = cover.bits();
    const auto line = static_cast<std::size_t>(cover.bytesPerLine());
    const auto width = static_cast<std::size_t>(cells.width());
    const auto height = static_cast<std::size_t>(cells.height());
    std::vector<std::uint8_t> copy;
    for (std::size_t y = 0; y < height; ++y) {
        blur(first + y * line, width, 1, copy);
    }
    for (std::size_t x = 0; x < width; ++x) {
        blur(first + x, height, line, copy);
    }
    QImage halo(cells, QImage::Format_ARGB32_Premultiplied);
    for (std::size_t y = 0; y < height; ++y) {
        auto* const to = reinterpret_cast<QRgb*>(halo.scanLine(static_cast<int>(y)));
        for (std::size_t x = 0; x < width; ++x) {
            to[x] = qRgba(0, 0, 0, std::min(first[y * line + x] * gain, darkest));
        }
    }
    return halo;
}

}  // namespace tarn
