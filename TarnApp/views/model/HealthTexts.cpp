#include "HealthTexts.h"

#include "Loc.h"
#include "TarnApp/localization/LanguagePreference.h"

namespace tarn {

HealthTexts::HealthTexts() {
    if (Loc::manager != nullptr) {
        connect(Loc::manager, &LocalizationManager::languageChanged, this, &HealthTexts::languageChanged);
    }
}

#define TARN_SESSION_FAULT(fault, english, chinese)                                           \
    QString HealthTexts::fault() {                                                            \
        const bool inChinese = LanguagePreference::stored().appLanguage() == AppLanguage::zh; \
        return inChinese ? QStringLiteral(chinese) : QStringLiteral(english);                 \
    }
#include "TarnApp/session/SessionHealthTexts.h"
#undef TARN_SESSION_FAULT

}  // namespace tarn
