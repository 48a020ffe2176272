#include "Module.h"

#include <QtGlobal>

#include "TarnApp/views/controls/Module.h"

void qml_register_types_Tarn_Overlay();

namespace tarn {

void registerOverlayModule() {
    registerControlsModule();
    qml_register_types_Tarn_Overlay();
}

}  // namespace tarn
