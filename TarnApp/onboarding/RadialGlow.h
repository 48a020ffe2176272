#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QQuickPaintedItem>

namespace tarn {

/// Light that falls from the middle of the upper edge and fades to nothing. Painted by hand, since neither
/// renderer of this Qt has radial gradients without further modules. Thread: main.
class RadialGlow : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY changed)
    Q_PROPERTY(qreal startRadius MEMBER startRadius_ NOTIFY changed)  ///< up to here the full colour
    Q_PROPERTY(qreal endRadius MEMBER endRadius_ NOTIFY changed)      ///< from here on nothing

public:
    explicit RadialGlow(QQuickItem* parent = nullptr);
    void paint(QPainter* painter) override;

Q_SIGNALS:
    void changed();

private:
    QColor color_;
    qreal startRadius_ = 0;
    qreal endRadius_ = 1;
};

}  // namespace tarn
