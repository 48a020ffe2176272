#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QImage>
#include <QQuickItem>

namespace tarn {

/// The line around a plate, on it and inside its edge. None as long as it has no colour.
class PlateEdge : public QObject {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(qreal width MEMBER width NOTIFY changed)  ///< points
    Q_PROPERTY(QColor color MEMBER color NOTIFY changed)

public:
    using QObject::QObject;

    qreal width = 1;
    QColor color = Qt::transparent;

Q_SIGNALS:
    void changed();
};

/// What every control with round corners lies on, up to a disc. Its picture is painted whole, in the pixels
/// of the screen, and starts on a whole one: the software renderer puts a round `Rectangle` together of
/// pieces, which do not meet where the scale of the screen is no whole number. Not to be turned or scaled.
/// Thread: main.
class Plate : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY changed)
    Q_PROPERTY(
        QColor lower MEMBER lower_ NOTIFY changed)  ///< what `color` turns into downwards; unset: nothing
    Q_PROPERTY(
        qreal radius MEMBER radius_ NOTIFY changed)  ///< points; no more than makes the shorter side round
    Q_PROPERTY(tarn::PlateEdge* border READ border CONSTANT)

public:
    Plate();

    PlateEdge* border();

Q_SIGNALS:
    void changed();

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    bool hasEdge() const;
    bool isSeen() const;
    qreal ratio() const;
    QPointF toWholePixel() const;
    QImage picture() const;
    void redraw();
    void follow();

    QColor color_ = Qt::white;
    QColor lower_;
    qreal radius_ = 0;
    PlateEdge* edge_ = nullptr;
    bool isStale_ = true;
    QPointF shift_;  ///< of what is drawn, to where it meets the pixels; points
    QMetaObject::Connection following_;
};

}  // namespace tarn
