#pragma once

#include <QtQml/qqmlregistration.h>
#include <QFont>
#include <QImage>
#include <QQuickPaintedItem>
#include <array>

#include "SubtitleFlow.h"
#include "SubtitleHalo.h"

namespace tarn {

/// What makes a subtitle and its marker legible over any picture: eight sharp shadows of them, one point
/// around, and a soft dark halo. Lies beneath them, larger than their line by `margin` at each side. One
/// drawing for all, since eight more texts would lay out and draw every update nine times. Painted once for
/// each change of the text. Thread: main.
class SubtitleOutline : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarn::SubtitleFlow* flow READ flow WRITE setFlow NOTIFY flowChanged REQUIRED)
    /// Where the text is seen, from the line's corner. Points, as are all places here.
    Q_PROPERTY(QRectF textArea MEMBER textArea_ NOTIFY changed)
    Q_PROPERTY(QString marker MEMBER marker_ NOTIFY changed)
    Q_PROPERTY(QFont markerFont MEMBER markerFont_ NOTIFY changed)
    Q_PROPERTY(QPointF markerAt MEMBER markerAt_ NOTIFY changed)  ///< the beginning of its baseline
    /// Leaves out what the letters themselves cover: they are translucent.
    Q_PROPERTY(bool hollow MEMBER isHollow_ NOTIFY changed)
    Q_PROPERTY(int outlineWidth MEMBER outlineWidth_ NOTIFY changed)  ///< of the sharp shadows
    Q_PROPERTY(int margin READ margin CONSTANT)

public:
    static constexpr std::array<QPoint, 8> shadows{
        {{1, 1}, {-1, 1}, {1, -1}, {-1, -1}, {0, 1}, {0, -1}, {1, 0}, {-1, 0}}};

    explicit SubtitleOutline(QQuickItem* parent = nullptr);

    SubtitleFlow* flow() const { return flow_; }
    void setFlow(SubtitleFlow* value);
    static constexpr int margin() { return SubtitleHalo::reach; }
    void paint(QPainter* painter) override;

    /// `letters`, empty and as large as `size` points; what is drawn into it is in points, too.
    static void clear(QImage& letters, const QSizeF& size, qreal devicePixelRatio);
    /// Draws halo and shadows of `letters`, black ones that fill `bounds`.
    static void drawAround(QPainter& painter, const QImage& letters, const QRectF& bounds, int outlineWidth);

Q_SIGNALS:
    void flowChanged();
    void changed();

private:
    void drawLetters(QPainter& drawing) const;

    QPointer<SubtitleFlow> flow_;
    QRectF textArea_;
    QString marker_;
    QFont markerFont_;
    QPointF markerAt_;
    bool isHollow_ = false;
    int outlineWidth_ = 1;
    QImage letters_;  ///< kept for the next drawing
};

}  // namespace tarn
