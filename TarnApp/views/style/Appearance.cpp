#include "Appearance.h"

namespace tarn {

Appearance& Appearance::shared() {
    static Appearance appearance;
    return appearance;
}

Appearance* Appearance::create(QQmlEngine*, QJSEngine*) {
    QQmlEngine::setObjectOwnership(&shared(), QQmlEngine::CppOwnership);
    return &shared();
}

void Appearance::setDark(bool value) {
    set(dark_, value);
}
void Appearance::setTranslucent(bool value) {
    set(translucent_, value);
}
void Appearance::setReducedMotion(bool value) {
    set(reducedMotion_, value);
}

void Appearance::setHighContrast(bool value) {
    set(highContrast_, value);
}

void Appearance::set(bool& field, bool value) {
    if (field != value) {
        field = value;
        Q_EMIT changed();
    }
}

}  // namespace tarn
