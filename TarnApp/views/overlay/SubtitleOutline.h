#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <QQuickPaintedItem>
#include <array>

#include "SubtitleFlow.h"

namespace tarn {

/// The black outline of a subtitle over any picture: eight sharp shadows of its text, one point around it.
/// Lies beneath the text, larger than it by `margin` at each side. One drawing for all, since eight more
/// texts would lay out and draw every update nine times. Thread: main.
class SubtitleOutline : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarn::SubtitleFlow* flow READ flow WRITE setFlow NOTIFY flowChanged REQUIRED)

public:
    static constexpr int margin = 1;
    static constexpr std::array<QPoint, 8> shadows{
        {{1, 1}, {-1, 1}, {1, -1}, {-1, -1}, {0, 1}, {0, -1}, {1, 0}, {-1, 0}}};

    explicit SubtitleOutline(QQuickItem* parent = nullptr) : QQuickPaintedItem(parent) {}

    SubtitleFlow* flow() const { return flow_; }
    void setFlow(SubtitleFlow* value);
    void paint(QPainter* painter) override;

Q_SIGNALS:
    void flowChanged();

private:
    QPointer<SubtitleFlow> flow_;
    QImage text_;  ///< kept for the next drawing
};

}  // namespace tarn
