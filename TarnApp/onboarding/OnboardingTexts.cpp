#include "OnboardingTexts.h"

#include "TarnApp/localization/LanguagePreference.h"
#include "TarnApp/views/model/Loc.h"

namespace tarn {

OnboardingTexts::OnboardingTexts() {
    if (Loc::manager != nullptr) {
        connect(Loc::manager, &LocalizationManager::languageChanged, this, &OnboardingTexts::languageChanged);
    }
}

#define TARN_ONBOARDING_TEXT(key, english, chinese)                                           \
    QString OnboardingTexts::key() {                                                          \
        const bool inChinese = LanguagePreference::stored().appLanguage() == AppLanguage::zh; \
        return inChinese ? QStringLiteral(chinese) : QStringLiteral(english);                 \
    }
#include "OnboardingTextTable.h"
#undef TARN_ONBOARDING_TEXT

}  // namespace tarn
