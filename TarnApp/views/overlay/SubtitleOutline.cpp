#include "SubtitleOutline.h"

#include <QPainter>
#include <QTextLayout>

namespace tarn {

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

void SubtitleOutline::paint(QPainter* painter) {
    const QTextLayout* const lines = flow_ != nullptr ? flow_->layout() : nullptr;
    if (lines == nullptr) {
        return;
    }
    const qreal ratio = painter->device()->devicePixelRatioF();
    const QSize size = (boundingRect().size() * ratio).toSize();
    if (text_.size() != size) {
        text_ = QImage(size, QImage::Format_ARGB32_Premultiplied);
    }
    text_.setDevicePixelRatio(ratio);
    text_.fill(Qt::transparent);
    {
        QPainter drawing(&text_);
        drawing.setPen(Qt::black);
        const qreal top = flow_->offset() - margin;
        for (int i = 0; i < lines->lineCount(); ++i) {
            const QTextLine line = lines->lineAt(i);
            if (line.y() + line.height() >= top && line.y() <= top + height()) {
                line.draw(&drawing, QPointF(margin, -top));
            }
        }
        // Glyphs with colours of their own as well.
        drawing.setCompositionMode(QPainter::CompositionMode_SourceIn);
        drawing.fillRect(boundingRect(), Qt::black);
    }
    for (const QPoint& shadow : shadows) {
        painter->drawImage(shadow, text_);
    }
}

}  // namespace tarn
