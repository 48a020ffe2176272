#include "InputLevel.h"

namespace tarn {
namespace {

constexpr qint64 shortest = 40;  // ms

}  // namespace

void InputLevel::setSession(TranslateSession* value) {
    if (session_ == value) {
        return;
    }
    if (session_ != nullptr) {
        disconnect(session_, nullptr, this, nullptr);
    }
    session_ = value;
    sinceChange_.invalidate();
    if (value != nullptr) {
        connect(value, &TranslateSession::inputLevelChanged, this, &InputLevel::follow);
        follow();
    }
    Q_EMIT sessionChanged();
}

void InputLevel::follow() {
    const float now = session_->inputLevel();
    if (now == level_ || (now > 0 && sinceChange_.isValid() && sinceChange_.elapsed() < shortest)) {
        return;
    }
    sinceChange_.start();
    level_ = now;
    Q_EMIT levelChanged();
}

}  // namespace tarn
