#include "SubtitleOutline.h"

#include <QPainter>
#include <QTextLayout>

namespace tarn {

SubtitleOutline::SubtitleOutline(QQuickItem* parent) : QQuickPaintedItem(parent) {
    connect(this, &SubtitleOutline::changed, this, [this] { update(); });
}

void SubtitleOutline::setFlow(SubtitleFlow* value) {
    if (flow_ == value) {
        return;
    }
    if (flow_ != nullptr) {
        disconnect(flow_, nullptr, this, nullptr);
    }
    flow_ = value;
    if (value != nullptr) {
        connect(value, &SubtitleFlow::laidOut, this, [this] { update(); });
        connect(value, &SubtitleFlow::moved, this, [this] { update(); });
    }
    update();
    Q_EMIT flowChanged();
}

void SubtitleOutline::drawLetters(QPainter& drawing) const {
    drawing.setPen(Qt::black);
    drawing.translate(margin(), margin());
    drawing.setFont(markerFont_);
    drawing.drawText(markerAt_, marker_);
    if (const QTextLayout* const lines = flow_ != nullptr ? flow_->layout() : nullptr) {
        drawing.setClipRect(textArea_.adjusted(-1, -1, 1, 1));
        const QPointF top = textArea_.topLeft() - QPointF(0, flow_->offset());
        for (int i = 0; i < lines->lineCount(); ++i) {
            const QTextLine line = lines->lineAt(i);
            const qreal y = line.y() - flow_->offset();
            if (y + line.height() >= 0 && y <= textArea_.height()) {
                line.draw(&drawing, top);
            }
        }
        drawing.setClipping(false);
    }
    // Emoji have colours of their own; the outline paints them black as well.
    drawing.resetTransform();
    drawing.setCompositionMode(QPainter::CompositionMode_SourceIn);
    drawing.fillRect(boundingRect(), Qt::black);
}

void SubtitleOutline::clear(QImage& letters, const QSizeF& size, qreal devicePixelRatio) {
    const QSize pixels = (size * devicePixelRatio).toSize();
    if (letters.size() != pixels) {
        letters = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
    }
    letters.setDevicePixelRatio(devicePixelRatio);
    letters.fill(Qt::transparent);
}

void SubtitleOutline::drawAround(QPainter& painter, const QImage& letters, const QRectF& bounds,
                                 int outlineWidth) {
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(bounds, SubtitleHalo::around(letters, bounds.size()));
    for (int width = 1; width <= outlineWidth; ++width) {
        for (const QPoint& shadow : shadows) {
            painter.drawImage(shadow * width, letters);
        }
    }
}

void SubtitleOutline::paint(QPainter* painter) {
    clear(letters_, boundingRect().size(), painter->device()->devicePixelRatioF());
    {
        QPainter drawing(&letters_);
        drawLetters(drawing);
    }
    drawAround(*painter, letters_, boundingRect(), outlineWidth_);
    // The letters themselves are drawn by another item, which may be translucent.
    if (isHollow_) {
        painter->setCompositionMode(QPainter::CompositionMode_DestinationOut);
        painter->drawImage(QPoint(), letters_);
    }
}

}  // namespace tarn
