#pragma once

#include "Symbols.h"

// The build of each QML module writes its function.
void qml_register_types_Tarn_Model();
void qml_register_types_Tarn_Style();
void qml_register_types_Tarn_Controls();
void qml_register_types_Tarn_Overlay();
void qml_register_types_Tarn_Onboarding();
void qml_register_types_Tarn_Elsewhere();
void qml_register_types_Tarn_Look();
void qml_register_types_Tarn_Record();
void qml_register_types_Tarn_Shell();

namespace tarn {

// Each function makes a QML module, and those that it uses, known to engines that are made later. Requires:
// the program links the module's library. Thread: main.

inline void registerModelModule() {
    qml_register_types_Tarn_Model();
}

inline void registerStyleModule() {
    qml_register_types_Tarn_Style();
    // A font that is added after the first text makes Qt lay out all texts again.
    Symbols::family();
}

inline void registerControlsModule() {
    registerStyleModule();
    registerModelModule();
    qml_register_types_Tarn_Controls();
}

inline void registerOverlayModule() {
    registerControlsModule();
    qml_register_types_Tarn_Overlay();
}

inline void registerOnboardingModule() {
    registerStyleModule();
    registerModelModule();
    qml_register_types_Tarn_Onboarding();
}

inline void registerRecordModule() {
    registerControlsModule();
    qml_register_types_Tarn_Record();
}

inline void registerElsewhereModule() {
    registerControlsModule();
    qml_register_types_Tarn_Elsewhere();
}

inline void registerLookModule() {
    registerOverlayModule();
    qml_register_types_Tarn_Look();
}

inline void registerShellModule() {
    qml_register_types_Tarn_Shell();
}

}  // namespace tarn
