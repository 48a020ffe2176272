#include "SignInTexts.h"

#include "TarnApp/localization/LanguagePreference.h"
#include "TarnPlatform/text/FilledText.h"

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
    return filledText(sentence(text), {argument});
}

}  // namespace tarn
