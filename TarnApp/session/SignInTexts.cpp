#include "SignInTexts.h"

#include "TarnApp/localization/LanguagePreference.h"

namespace tarn {
namespace {

const char* sentence(SignInText text) {
    const bool inChinese = LanguagePreference::stored().appLanguage() == AppLanguage::zh;
    switch (text) {
#define TARN_SIGN_IN_TEXT(key, english, chinese) \
    case SignInText::key:                        \
        return inChinese ? chinese : english;
#include "SignInTextTable.h"
#undef TARN_SIGN_IN_TEXT
    }
    return "";
}

}  // namespace

std::string signInText(SignInText text, const std::string& argument) {
    std::string filled = sentence(text);
    if (const auto place = filled.find("%1"); place != std::string::npos) {
        filled.replace(place, 2, argument);
    }
    return filled;
}

}  // namespace tarn
