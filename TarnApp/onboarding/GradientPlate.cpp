#include "GradientPlate.h"

#include <QLinearGradient>
#include <QPainter>

namespace tarn {

GradientPlate::GradientPlate(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
    connect(this, &GradientPlate::changed, this, [this] { update(); });
}

void GradientPlate::paint(QPainter* painter) {
    QLinearGradient gradient(0, 0, 0, height());
    gradient.setColorAt(0, upper_);
    gradient.setColorAt(1, lower_);
    painter->setBrush(gradient);
    painter->setPen(QPen(edge_, 1));
    const QRectF inside = QRectF(0, 0, width(), height()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter->drawRoundedRect(inside, radius_, radius_);
}

}  // namespace tarn
