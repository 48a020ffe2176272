#include "LevelEase.h"

#include <QBasicTimer>
#include <QTimerEvent>
#include <algorithm>
#include <utility>
#include <vector>

#include "LevelScale.h"

namespace tarn {
namespace {

/// Moves all meters that have not reached their level yet.
class Ticker : public QObject {
public:
    void add(LevelEase* meter) {
        if (std::ranges::find(moving_, meter) == moving_.end()) {
            moving_.push_back(meter);
        }
        if (!timer_.isActive()) {
            timer_.start(interval, this);
        }
    }
    void remove(LevelEase* meter) { std::erase(moving_, meter); }

protected:
    void timerEvent(QTimerEvent*) override {
        // A signal of a meter may add or destroy others.
        const auto meters = moving_;
        for (LevelEase* const meter : meters) {
            if (std::ranges::find(moving_, meter) != moving_.end() && !meter->step()) {
                remove(meter);
            }
        }
        if (moving_.empty()) {
            timer_.stop();
        }
    }

private:
    static constexpr int interval = 33;  // ms

    std::vector<LevelEase*> moving_;
    QBasicTimer timer_;
};

Ticker& ticker() {
    static Ticker shared;
    return shared;
}

}  // namespace

LevelEase::~LevelEase() {
    ticker().remove(this);
}

void LevelEase::setLevel(float value) {
    if (value == level_) {
        return;
    }
    level_ = value;
    from_ = fill_;
    target_ = LevelScale::fraction(value);
    since_.start();
    Q_EMIT levelChanged();
    ticker().add(this);
}

bool LevelEase::step() {
    const double passed = time_ > 0 ? static_cast<double>(since_.elapsed()) / time_ : 1;
    const double left = std::max(0.0, 1 - passed);
    // The quadratic curve is fast at first and ends without a jolt.
    const double next = target_ - (target_ - from_) * left * left;
    if (std::exchange(fill_, next) != next) {
        Q_EMIT fillChanged();
    }
    if (auto light = LevelScale::light(level_); light != light_) {
        light_ = std::move(light);
        Q_EMIT lightChanged();
    }
    return left > 0;
}

}  // namespace tarn
