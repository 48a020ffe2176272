#include "Module.h"

#include <QtGlobal>

#include "TarnApp/views/model/Module.h"
#include "TarnApp/views/style/Module.h"

void qml_register_types_Tarn_Controls();

namespace tarn {

void registerControlsModule() {
    registerStyleModule();
    registerModelModule();
    qml_register_types_Tarn_Controls();
}

}  // namespace tarn
