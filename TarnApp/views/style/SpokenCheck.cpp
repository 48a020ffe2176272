#include "SpokenCheck.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace tarn {
namespace {

/// Qt calls observers of accessibility for the whole program, so one serves all buttons.
class ScreenReaders : public QAccessible::ActivationObserver {
public:
    static ScreenReaders& shared() {
        static ScreenReaders readers;
        return readers;
    }
    ScreenReaders() { QAccessible::installActivationObserver(this); }
    ~ScreenReaders() { QAccessible::removeActivationObserver(this); }
    ScreenReaders(const ScreenReaders&) = delete;
    ScreenReaders& operator=(const ScreenReaders&) = delete;

    std::vector<SpokenCheck*> all;

    void accessibilityActiveChanged(bool active) override {
        if (active) {
            for (SpokenCheck* const check : all) {
                check->sayLater();
            }
        }
    }
};

}  // namespace

SpokenCheck::SpokenCheck(QObject* parent) : QObject(parent) {
    ScreenReaders::shared().all.push_back(this);
}

SpokenCheck::~SpokenCheck() {
    std::erase(ScreenReaders::shared().all, this);
}

void SpokenCheck::setCheckable(bool value) {
    if (std::exchange(checkable_, value) != value) {
        sayLater();
        Q_EMIT checkableChanged();
    }
}

void SpokenCheck::setChecked(bool value) {
    if (std::exchange(checked_, value) != value) {
        sayLater();
        Q_EMIT checkedChanged();
    }
}

void SpokenCheck::componentComplete() {
    isComplete_ = true;
    sayLater();
}

void SpokenCheck::sayLater() {
    if (isComplete_ && QAccessible::isActive()) {
        QMetaObject::invokeMethod(this, &SpokenCheck::say, Qt::QueuedConnection);
    }
}

void SpokenCheck::say() const {
    if (parent() == nullptr) {
        return;
    }
    // The class of the attached `Accessible` object is private to Qt, so it is found by its name.
    for (QObject* const child : parent()->children()) {
        if (child->inherits("QQuickAccessibleAttached")) {
            child->setProperty("checkable", checkable_);
            child->setProperty("checked", checked_);
        }
    }
}

}  // namespace tarn
