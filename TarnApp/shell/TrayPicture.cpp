#include "TrayPicture.h"

#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QtEndian>
#include <cstring>

namespace tarn {
namespace {

// The shapes are those of the application icon, on its grid of 128 × 128.
constexpr qreal grid = 128;

QPainterPath bubble(const QRectF& body, const QPolygonF& tail) {
    QPainterPath path;
    path.addRoundedRect(body, 14, 14);
    QPainterPath point;
    point.addPolygon(tail);
    return path.united(point);
}

void paintIcon(QPainter& painter, bool isRunning) {
    painter.setPen(Qt::NoPen);
    QLinearGradient night(0, 0, 0, grid);
    night.setColorAt(0, "#3a4384");
    night.setColorAt(1, "#1e2349");
    painter.setBrush(night);
    painter.drawRoundedRect(QRectF(4, 4, 120, 120), 27, 27);
    painter.setBrush(QColor("#a8b5ff"));
    painter.drawPath(bubble({20, 24, 74, 48}, {{27, 66}, {28, 85}, {48, 71}}));
    const QPainterPath front = bubble({44, 52, 64, 46}, {{100, 92}, {100, 110}, {82, 97}});
    painter.setBrush(QColor("#ffd16a"));
    painter.strokePath(front, QPen(QColor("#272d5c"), 6));
    painter.drawPath(front);
    painter.setBrush(QColor("#272d5c"));
    painter.drawRoundedRect(QRectF(56, 66, 40, 6), 3, 3);
    painter.drawRoundedRect(QRectF(56, 78, 26, 6), 3, 3);
    if (isRunning) {
        painter.setPen(QPen(QColor("#1e2349"), 6));
        painter.setBrush(QColor("#34c759"));
        painter.drawEllipse(QPointF(103, 25), 20, 20);
    }
}

QImage imageOf(int size, bool isRunning) {
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / grid, size / grid);
    paintIcon(painter, isRunning);
    return image;
}

std::vector<TrayPicture> paintPictures(bool isRunning) {
    std::vector<TrayPicture> pictures;
    for (const int size : {22, 24, 32, 48, 64}) {
        const QImage image = imageOf(size, isRunning);
        TrayPicture picture{size, size, {}};
        for (int row = 0; row < size; ++row) {
            for (int column = 0; column < size; ++column) {
                const auto pixel = qToBigEndian<std::uint32_t>(image.pixel(column, row));
                const auto at = picture.argb.size();
                picture.argb.resize(at + sizeof pixel);
                std::memcpy(&picture.argb[at], &pixel, sizeof pixel);
            }
        }
        pictures.push_back(std::move(picture));
    }
    return pictures;
}

}  // namespace

const std::vector<TrayPicture>& trayPictures(bool isRunning) {
    static const std::vector<TrayPicture> resting = paintPictures(false);
    static const std::vector<TrayPicture> running = paintPictures(true);
    return isRunning ? running : resting;
}

QIcon windowIcon() {
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64}) {
        icon.addPixmap(QPixmap::fromImage(imageOf(size, false)));
    }
    return icon;
}

}  // namespace tarn
