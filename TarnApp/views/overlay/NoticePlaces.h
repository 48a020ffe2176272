#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QRectF>
#include <QSizeF>
#include <span>
#include <vector>

namespace tarn {

/// Where a session's notices lie, its error and its health: beside its row of controls, in the room that the
/// row leaves, or else in lines below. They take no room from a control. Points, all in one item's
/// coordinates; a notice of no width is not there. Thread: main.
class NoticePlaces : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QRectF beside MEMBER beside_ NOTIFY wishesChanged)  ///< the room that the row leaves
    Q_PROPERTY(QRectF below MEMBER below_ NOTIFY wishesChanged)    ///< the lines' place; it has no height
    Q_PROPERTY(QSizeF errorSize MEMBER error_ NOTIFY wishesChanged)
    Q_PROPERTY(QSizeF healthSize MEMBER health_ NOTIFY wishesChanged)
    Q_PROPERTY(QRectF error READ error NOTIFY placesChanged)
    Q_PROPERTY(QRectF health READ health NOTIFY placesChanged)
    Q_PROPERTY(qreal heightBelow READ heightBelow NOTIFY placesChanged)  ///< of the lines

public:
    struct Places {
        std::vector<QRectF> notices;
        qreal heightBelow = 0;

        bool operator==(const Places&) const = default;
    };

    explicit NoticePlaces(QObject* parent = nullptr);

    /// Of notices that want these sizes, the first of which chooses first. One is beside the row where it has
    /// all of its width or `leastBeside`.
    static Places places(const QRectF& beside, const QRectF& below, std::span<const QSizeF> wanted);

    QRectF error() const { return places_.notices[0]; }
    QRectF health() const { return places_.notices[1]; }
    qreal heightBelow() const { return places_.heightBelow; }

Q_SIGNALS:
    void wishesChanged();
    void placesChanged();

private:
    static constexpr qreal leastBeside = 160;
    static constexpr qreal spacing = 6;
    static constexpr qreal lineSpacing = 4;

    void update();

    QRectF beside_;
    QRectF below_;
    QSizeF error_{0, 0};
    QSizeF health_{0, 0};
    Places places_{{{}, {}}};
};

}  // namespace tarn
