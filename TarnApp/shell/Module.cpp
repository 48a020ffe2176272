#include "Module.h"

#include <QtGlobal>

void qml_register_types_Tarn_Shell();

namespace tarn {

void registerShellModule() {
    qml_register_types_Tarn_Shell();
}

}  // namespace tarn
