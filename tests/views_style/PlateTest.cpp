// Plates as the processor draws them, pixel by pixel, at the scales that desktops offer.
#include "TarnApp/views/style/Plate.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QQuickWindow>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

namespace tarn {
namespace {

/// How much of the pixel at `x`, `y` a round rectangle covers, 0 to 255.
int coverage(int x, int y, const QRect& frame, qreal radius) {
    constexpr int fine = 16;
    if (!frame.contains(x, y)) {
        return 0;
    }
    int inside = 0;
    for (int i = 0; i < fine * fine; ++i) {
        const qreal px = x + (i % fine + 0.5) / fine - frame.x();
        const int line = i / fine;
        const qreal py = y + (line + 0.5) / fine - frame.y();
        const qreal dx = std::max({radius - px, px - (frame.width() - radius), 0.0});
        const qreal dy = std::max({radius - py, py - (frame.height() - radius), 0.0});
        inside += std::hypot(dx, dy) <= radius ? 1 : 0;
    }
    return inside * 255 / (fine * fine);
}

class PlateAtScale : public testing::TestWithParam<const char*> {};

TEST_P(PlateAtScale, IsWholeInEveryPixelAndStaysSoWhenItIsMoved) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("QT_SCALE_FACTOR", GetParam(), 1);
    int count = 0;
    const QGuiApplication application(count, nullptr);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QQuickWindow window;
    window.setColor(Qt::black);
    window.resize(200, 130);
    const QRectF wanted[] = {{3, 5, 70, 28}, {87, 6, 19, 19}, {7, 43, 100, 6}, {11, 61, 181, 47}};
    const qreal radii[] = {6, 9.5, 3, 12};
    QQuickItem holder(window.contentItem());
    std::vector<std::unique_ptr<Plate>> plates;
    for (std::size_t i = 0; i < std::size(wanted); ++i) {
        auto& plate = *plates.emplace_back(std::make_unique<Plate>());
        plate.setParentItem(&holder);
        plate.setPosition(wanted[i].topLeft());
        plate.setSize(wanted[i].size());
        plate.setProperty("radius", radii[i]);
        if (i % 2 == 1) {
            plate.setProperty("color", QColor(Qt::transparent));
            plate.border()->setProperty("width", 50);  // all of it
            plate.border()->setProperty("color", QColor(Qt::white));
        }
    }
    window.show();
    for (const qreal moved : {0.0, 1.0, 2.0}) {
        holder.setPosition({moved, 3 * moved});
        const QImage image = window.grabWindow();
        const qreal scale = std::atof(GetParam());
        ASSERT_EQ(image.size(), (QSizeF(window.size()) * scale).toSize());
        int worst = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                int expected = 0;
                for (std::size_t i = 0; i < std::size(wanted); ++i) {
                    const QRect frame(((wanted[i].topLeft() + holder.position()) * scale).toPoint(),
                                      (wanted[i].size() * scale).toSize());
                    expected += coverage(x, y, frame, radii[i] * scale);
                }
                worst = std::max(worst, std::abs(qRed(image.pixel(x, y)) - expected));
            }
        }
        EXPECT_LE(worst, 40) << "moved by " << moved;
    }
}

INSTANTIATE_TEST_SUITE_P(, PlateAtScale, testing::Values("1", "1.25", "1.5", "1.75", "2", "2.25"));

}  // namespace
}  // namespace tarn
