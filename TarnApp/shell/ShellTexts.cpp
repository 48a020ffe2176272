#include "ShellTexts.h"

#include "TarnApp/localization/LanguagePreference.h"

namespace tarn {

std::string shellText(ShellText text) {
    const bool inChinese = LanguagePreference::stored().appLanguage() == AppLanguage::zh;
    switch (text) {
#define TARN_SHELL_TEXT(key, english, chinese) \
    case ShellText::key:                       \
        return inChinese ? chinese : english;
#include "ShellTextTable.h"
#undef TARN_SHELL_TEXT
    }
    return {};
}

}  // namespace tarn
