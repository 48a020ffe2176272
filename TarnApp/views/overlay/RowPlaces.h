#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QRectF>

namespace tarn {

/// Where the parts of a session's row of controls lie. Of what is too much for its width, the level meter
/// gives way first, then the application's name, the margins of the languages, their codes, the rest of the
/// name, the meter; the names of the languages come last. Points from the row's corner; a part of no width is
/// not there. Thread: main.
class RowPlaces : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(qreal width MEMBER width_ NOTIFY wishesChanged)
    Q_PROPERTY(qreal dotWidth MEMBER dot_ NOTIFY wishesChanged)
    Q_PROPERTY(qreal sourceWidth MEMBER source_ NOTIFY wishesChanged)
    Q_PROPERTY(qreal nameWidth MEMBER name_ NOTIFY wishesChanged)    ///< the application's; 0: there is none
    Q_PROPERTY(qreal arrowWidth MEMBER arrow_ NOTIFY wishesChanged)  ///< between the languages
    /// The button of a language, without its text.
    Q_PROPERTY(qreal frameWidth MEMBER frame_ NOTIFY wishesChanged)
    /// The texts of both languages, with the code as width and without as height.
    Q_PROPERTY(QSizeF fromWidths MEMBER from_ NOTIFY wishesChanged)
    Q_PROPERTY(QSizeF toWidths MEMBER to_ NOTIFY wishesChanged)

    Q_PROPERTY(QRectF source READ source NOTIFY placesChanged)
    Q_PROPERTY(QRectF name READ name NOTIFY placesChanged)
    Q_PROPERTY(QRectF meter READ meter NOTIFY placesChanged)
    Q_PROPERTY(QRectF from READ from NOTIFY placesChanged)
    Q_PROPERTY(QRectF arrow READ arrow NOTIFY placesChanged)
    Q_PROPERTY(QRectF to READ to NOTIFY placesChanged)
    Q_PROPERTY(bool tight READ isTight NOTIFY placesChanged)          ///< narrow margins of the languages
    Q_PROPERTY(bool showsCodes READ showsCodes NOTIFY placesChanged)  ///< of the languages

public:
    static constexpr qreal height = 28;
    static constexpr qreal tightening = 6;  ///< what narrow margins save

    struct Wishes {
        qreal width = 0;
        qreal dot = 0;
        qreal source = 0;
        qreal name = 0;
        qreal arrow = 0;
        qreal frame = 0;
        QSizeF from{0, 0};
        QSizeF to{0, 0};
    };
    struct Places {
        QRectF source;
        QRectF name;
        QRectF meter;
        QRectF from;
        QRectF arrow;
        QRectF to;
        bool isTight = false;
        bool showsCodes = true;

        bool operator==(const Places&) const = default;
    };

    explicit RowPlaces(QObject* parent = nullptr);

    static Places places(const Wishes& wishes);

    QRectF source() const { return places_.source; }
    QRectF name() const { return places_.name; }
    QRectF meter() const { return places_.meter; }
    QRectF from() const { return places_.from; }
    QRectF arrow() const { return places_.arrow; }
    QRectF to() const { return places_.to; }
    bool isTight() const { return places_.isTight; }
    bool showsCodes() const { return places_.showsCodes; }

Q_SIGNALS:
    void wishesChanged();
    void placesChanged();

private:
    void update();

    qreal width_ = 0;
    qreal dot_ = 0;
    qreal source_ = 0;
    qreal name_ = 0;
    qreal arrow_ = 0;
    qreal frame_ = 0;
    QSizeF from_{0, 0};
    QSizeF to_{0, 0};
    Places places_;
};

}  // namespace tarn
