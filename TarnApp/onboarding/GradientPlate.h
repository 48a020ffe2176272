#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QQuickPaintedItem>

namespace tarn {

/// A plate with round corners, or a disc, that grows darker downwards. Painted by hand: the software renderer
/// draws the corners of a `Rectangle` with a gradient in steps. Thread: main.
class GradientPlate : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor upper MEMBER upper_ NOTIFY changed)
    Q_PROPERTY(QColor lower MEMBER lower_ NOTIFY changed)
    Q_PROPERTY(QColor edge MEMBER edge_ NOTIFY changed)
    Q_PROPERTY(qreal radius MEMBER radius_ NOTIFY changed)

public:
    explicit GradientPlate(QQuickItem* parent = nullptr);
    void paint(QPainter* painter) override;

Q_SIGNALS:
    void changed();

private:
    QColor upper_;
    QColor lower_;
    QColor edge_ = Qt::transparent;
    qreal radius_ = 0;
};

}  // namespace tarn
