#include "RadialGlow.h"

#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <cstdint>

namespace tarn {
namespace {

/// Pseudo-random numbers that are spread evenly over [0, 1) and the same at every painting.
float noise(std::uint32_t x, std::uint32_t y) {
    std::uint32_t bits = x * 0x9e3779b1U ^ y * 0x85ebca77U;
    bits = (bits ^ bits >> 15U) * 0x2c1b3c6dU;
    bits ^= bits >> 12U;
    return static_cast<float>(bits & 0xffffU) / 65536.0F;
}

}  // namespace

RadialGlow::RadialGlow(QQuickItem* parent) : QQuickPaintedItem(parent) {
    connect(this, &RadialGlow::changed, this, [this] { update(); });
}

void RadialGlow::paint(QPainter* painter) {
    // So faint a gradient has few shades, whose borders would be visible as rings. Noise hides them.
    const qreal scale = painter->device()->devicePixelRatio();
    QImage image((QSizeF(width(), height()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    const auto start = static_cast<float>(startRadius_ * scale);
    const auto end = static_cast<float>(endRadius_ * scale);
    const float middle = static_cast<float>(image.width()) / 2;
    for (int y = 0; y < image.height(); ++y) {
        auto* const line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const float radius = std::hypot(static_cast<float>(x) - middle, static_cast<float>(y));
            const float light = std::clamp((end - radius) / (end - start), 0.0F, 1.0F) * color_.alphaF();
            const float rounding = noise(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y));
            const auto level = [&](float share) { return static_cast<int>(share * light * 255 + rounding); };
            line[x] = qRgba(level(color_.redF()), level(color_.greenF()), level(color_.blueF()), level(1));
        }
    }
    painter->drawImage(QRectF(0, 0, width(), height()), image);
}

}  // namespace tarn
