#pragma once

#include <QtQml/qqmlregistration.h>
#include <QElapsedTimer>
#include <QObject>

namespace tarn {

/// What a level meter shows of a level that changes many times a second: a share of the bar that eases out to
/// each new one. All meters move together, 30 times a second, so that they cost the window one frame; a timer
/// runs only while one of them moves. Thread: main.
class LevelEase : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(float level READ level WRITE setLevel NOTIFY levelChanged)  ///< linear
    Q_PROPERTY(int time MEMBER time_ NOTIFY timeChanged)                   ///< to a new level, ms; 0: at once
    Q_PROPERTY(double fill READ fill NOTIFY fillChanged)                   ///< 0 to 1
    Q_PROPERTY(QString light READ light NOTIFY lightChanged)  ///< of the level itself: see LevelScale

public:
    using QObject::QObject;
    ~LevelEase() override;

    float level() const { return level_; }
    void setLevel(float value);
    double fill() const { return fill_; }
    QString light() const { return light_; }

    /// Moves on, and says whether there is more to come.
    bool step();

Q_SIGNALS:
    void levelChanged();
    void timeChanged();
    void fillChanged();
    void lightChanged();

private:
    float level_ = 0;
    int time_ = 80;
    double fill_ = 0;
    double from_ = 0;
    double target_ = 0;
    QString light_ = QStringLiteral("green");
    QElapsedTimer since_;  ///< the latest level
};

}  // namespace tarn
