#include "Module.h"

#include <QtGlobal>

#include "Symbols.h"

void qml_register_types_Tarn_Style();

namespace tarn {

void registerStyleModule() {
    qml_register_types_Tarn_Style();
    // Before the first text: a font that comes later makes all of them be laid out again.
    Symbols::family();
}

}  // namespace tarn
