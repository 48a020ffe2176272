#include "Module.h"

#include <QtGlobal>

void qml_register_types_Tarn_Model();

namespace tarn {

void registerModelModule() {
    qml_register_types_Tarn_Model();
}

}  // namespace tarn
