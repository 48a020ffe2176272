#include "Plate.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QQuickWindow>
#include <QSGImageNode>
#include <algorithm>
#include <cmath>

namespace tarn {
namespace {

// Transparent pixels around the picture keep renderers from repeating its edge.
constexpr int margin = 1;

}  // namespace

Plate::Plate() {
    setFlag(ItemHasContents);
    connect(this, &Plate::changed, this, &Plate::redraw);
}

PlateEdge* Plate::border() {
    if (edge_ == nullptr) {
        edge_ = new PlateEdge(this);
        connect(edge_, &PlateEdge::changed, this, &Plate::redraw);
    }
    return edge_;
}

bool Plate::hasEdge() const {
    return edge_ != nullptr && edge_->width > 0 && edge_->color.alpha() > 0;
}

bool Plate::isSeen() const {
    return width() > 0 && height() > 0 && (color_.alpha() > 0 || lower_.alpha() > 0 || hasEdge());
}

qreal Plate::ratio() const {
    return window()->effectiveDevicePixelRatio();
}

// The picture has one texel for each pixel, so at a fraction of a pixel its edges would be blurred.
QPointF Plate::toWholePixel() const {
    const QPointF corner = mapToScene({0, 0}) * ratio();
    return (QPointF(corner.toPoint()) - corner) / ratio();
}

QImage Plate::picture() const {
    const QSize size = (this->size() * ratio()).toSize().expandedTo({1, 1});
    QImage image(size.grownBy({margin, margin, margin, margin}), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF whole(QPointF(margin, margin), QSizeF(size));
    const qreal most = std::min(whole.width(), whole.height()) / 2;
    const qreal radius = std::min(radius_ * ratio(), most);
    QLinearGradient downwards(whole.topLeft(), whole.bottomLeft());
    downwards.setColorAt(0, color_);
    downwards.setColorAt(1, lower_);
    painter.setPen(Qt::NoPen);
    painter.setBrush(lower_.isValid() ? QBrush(downwards) : QBrush(color_));
    painter.drawRoundedRect(whole, radius, radius);
    if (hasEdge()) {
        const qreal width = std::min(std::max(1.0, std::round(edge_->width * ratio())), most);
        const qreal inner = std::max(0.0, radius - width);
        QPainterPath ring;
        ring.addRoundedRect(whole, radius, radius);
        ring.addRoundedRect(whole.adjusted(width, width, -width, -width), inner, inner);
        painter.fillPath(ring, edge_->color);
    }
    return image;
}

QSGNode* Plate::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    auto* node = static_cast<QSGImageNode*>(old);
    if (!isSeen()) {
        delete node;
        return nullptr;
    }
    if (node == nullptr) {
        node = window()->createImageNode();
        node->setOwnsTexture(true);
        node->setFiltering(QSGTexture::Nearest);
        isStale_ = true;
    }
    if (isStale_) {
        const QImage image = picture();
        node->setTexture(window()->createTextureFromImage(image, QQuickWindow::TextureHasAlphaChannel));
        node->setSourceRect(image.rect());
        isStale_ = false;
    }
    shift_ = toWholePixel();
    const QPointF beginning = shift_ - QPointF(margin, margin) / ratio();
    node->setRect({beginning, node->sourceRect().size() / ratio()});
    return node;
}

void Plate::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) {
        redraw();
    }
}

void Plate::itemChange(ItemChange change, const ItemChangeData& data) {
    if (change == ItemSceneChange) {
        disconnect(following_);
        if (data.window != nullptr) {
            following_ = connect(data.window, &QQuickWindow::beforeSynchronizing, this, &Plate::follow,
                                 Qt::DirectConnection);
        }
    } else if (change == ItemDevicePixelRatioHasChanged) {
        redraw();
    }
    QQuickItem::itemChange(change, data);
}

void Plate::redraw() {
    isStale_ = true;
    update();
}

void Plate::follow() {
    // An item gets no event when one of its ancestors moves.
    if (isVisible() && !isStale_ && isSeen() && toWholePixel() != shift_) {
        update();
    }
}

}  // namespace tarn
