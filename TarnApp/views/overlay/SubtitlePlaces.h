#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>

namespace tarn {

/// Where what is said and its translation lie in their pane, one below the other. Where there is no room for
/// a line of both, the translation has all of it, and what is said is above the pane until the user scrolls
/// it in. Points. Thread: main.
class SubtitlePlaces : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(qreal height MEMBER height_ NOTIFY wishesChanged)    ///< of the pane
    Q_PROPERTY(qreal margin MEMBER margin_ NOTIFY wishesChanged)    ///< above and below both
    Q_PROPERTY(qreal spacing MEMBER spacing_ NOTIFY wishesChanged)  ///< between both
    Q_PROPERTY(bool hasSource MEMBER hasSource_ NOTIFY wishesChanged)
    Q_PROPERTY(qreal sourceLine MEMBER sourceLine_ NOTIFY wishesChanged)        ///< height of one line
    Q_PROPERTY(qreal sourceNatural MEMBER sourceNatural_ NOTIFY wishesChanged)  ///< height of all lines
    Q_PROPERTY(qreal sourceHeight MEMBER sourceHeight_ NOTIFY wishesChanged)    ///< what it takes of its room
    Q_PROPERTY(qreal translationLine MEMBER translationLine_ NOTIFY wishesChanged)
    Q_PROPERTY(qreal translationNatural MEMBER translationNatural_ NOTIFY wishesChanged)

    Q_PROPERTY(bool hasRoom READ hasRoom NOTIFY placesChanged)  ///< for a line of the translation
    Q_PROPERTY(bool scrolls READ scrolls NOTIFY placesChanged)  ///< there is something above the pane
    // A signal of its own: what is said answers it with its height, on which the others depend.
    Q_PROPERTY(qreal sourceRoom READ sourceRoom NOTIFY sourceRoomChanged)
    Q_PROPERTY(qreal sourceY READ sourceY NOTIFY placesChanged)
    Q_PROPERTY(qreal translationRoom READ translationRoom NOTIFY placesChanged)
    Q_PROPERTY(qreal translationY READ translationY NOTIFY placesChanged)

public:
    /// The most that the source takes where it cannot have all of its height.
    static constexpr qreal leastPart = 0.4;

    struct Wishes {
        qreal height = 0;
        qreal margin = 0;
        qreal spacing = 0;
        bool hasSource = true;
        qreal sourceLine = 0;
        qreal sourceNatural = 0;
        qreal sourceHeight = 0;
        qreal translationLine = 0;
        qreal translationNatural = 0;
    };
    struct Places {
        bool hasRoom = false;
        qreal above = 0;  ///< of what is said, that is above the pane
        qreal sourceRoom = 0;
        qreal sourceY = 0;
        qreal translationRoom = 0;
        qreal translationY = 0;

        bool operator==(const Places&) const = default;
    };

    explicit SubtitlePlaces(QObject* parent = nullptr);

    /// `lift`: how much of what is above the user has scrolled in; more than there is counts as all of it.
    static Places places(const Wishes& wishes, qreal lift);

    Q_INVOKABLE void scroll(qreal points);  ///< positive brings in what is above

    bool hasRoom() const { return places_.hasRoom; }
    bool scrolls() const { return places_.above > 0; }
    qreal sourceRoom() const { return places_.sourceRoom; }
    qreal sourceY() const { return places_.sourceY; }
    qreal translationRoom() const { return places_.translationRoom; }
    qreal translationY() const { return places_.translationY; }

Q_SIGNALS:
    void wishesChanged();
    void placesChanged();
    void sourceRoomChanged();

private:
    void update();

    qreal height_ = 0;
    qreal margin_ = 0;
    qreal spacing_ = 0;
    bool hasSource_ = true;
    qreal sourceLine_ = 0;
    qreal sourceNatural_ = 0;
    qreal sourceHeight_ = 0;
    qreal translationLine_ = 0;
    qreal translationNatural_ = 0;
    qreal lift_ = 0;
    Places places_;
};

}  // namespace tarn
