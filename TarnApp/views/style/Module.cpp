#include "Module.h"

#include <QtGlobal>

#include "Symbols.h"

void qml_register_types_Tarn_Style();

namespace tarn {

void registerStyleModule() {
    qml_register_types_Tarn_Style();
    // A font that is added after the first text makes Qt lay out all texts again.
    Symbols::family();
}

}  // namespace tarn
