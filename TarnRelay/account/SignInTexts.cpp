#include "SignInTexts.h"

namespace tarn::relay {
namespace {

constexpr SignInTexts english{
    .languageTag = "en",
    .title = "Sign in to Tarn",
    .lead = "Tarn asks for access to the relay on this computer.",
    .permissions = "Tarn will be able to",
    .permissionTranslate = "translate speech through this relay",
    .permissionEmail = "see the e-mail address below",
    .emailLabel = "E-mail address",
    .emailHint = "It only names your account on this relay. Nothing is ever sent to it.",
    .signIn = "Sign in",
    .cancel = "Cancel",
    .endsAtSignOut = "Signing out in Tarn ends this access.",
    .errorTitle = "Error",
    .emailError = "Please enter an e-mail address, such as name@example.org.",
    .staleError =
        "This page was open for too long, was used before, or your browser keeps no cookies. Please confirm "
        "once more.",
    .limitError = "Too many sign-ins in a short time. Please wait a little and confirm again.",
    .storeError = "The relay could not store the access. Its messages say why. Please try again.",
    .doneTitle = "You are signed in",
    .doneFor = "Tarn opens with the account",
    .doneHint = "If your browser asks, allow it to open Tarn. After that you can close this page.",
    .openTarn = "Open Tarn",
    .cancelledTitle = "Sign-in cancelled",
    .cancelledText = "Tarn was given no access. You can close this page.",
    .backToTarn = "Back to Tarn",
    .signInAfterAll = "Sign in after all",
    .strayTitle = "Please begin in Tarn",
    .strayText = "This page belongs to a sign-in that Tarn starts. Choose “Sign in” in Tarn to come here.",
    .elsewhereTitle = "Sign-in needs a token",
    .elsewhereText =
        "This relay serves a network, where nothing is encrypted, so this page gives access on the relay’s "
        "own "
        "computer only. Whoever looks after the relay can make an access token for you:",
    .elsewhereMake = "On the relay’s computer",
    .elsewhereUse = "Then on yours, with that token as input",
};

constexpr SignInTexts chinese{
    .languageTag = "zh-Hans",
    .title = "登录 Tarn",
    .lead = "Tarn 请求使用这台电脑上的中继服务。",
    .permissions = "Tarn 将可以",
    .permissionTranslate = "通过此中继服务翻译语音",
    .permissionEmail = "看到下面的电子邮件地址",
    .emailLabel = "电子邮件地址",
    .emailHint = "它只用作您在此中继服务上的账户名，不会向它发送任何邮件。",
    .signIn = "登录",
    .cancel = "取消",
    .endsAtSignOut = "在 Tarn 中退出登录即可收回此权限。",
    .errorTitle = "错误",
    .emailError = "请输入电子邮件地址，例如 name@example.org。",
    .staleError = "此页面打开时间过长、已被使用，或浏览器未保存 Cookie。请再次确认。",
    .limitError = "短时间内登录次数过多。请稍候再确认。",
    .storeError = "中继服务无法保存此权限，原因见其日志。请重试。",
    .doneTitle = "您已登录",
    .doneFor = "Tarn 将以此账户打开：",
    .doneHint = "如果浏览器询问，请允许它打开 Tarn。之后即可关闭此页面。",
    .openTarn = "打开 Tarn",
    .cancelledTitle = "已取消登录",
    .cancelledText = "Tarn 未获得任何权限。您可以关闭此页面。",
    .backToTarn = "返回 Tarn",
    .signInAfterAll = "仍要登录",
    .strayTitle = "请从 Tarn 开始",
    .strayText = "此页面用于由 Tarn 发起的登录。请在 Tarn 中选择“登录”来到这里。",
    .elsewhereTitle = "在此登录需要令牌",
    .elsewhereText =
        "此中继服务面向整个网络，而网络上的内容未加密，因此此页面只在中继服务所在的电脑上授予权限。"
        "中继服务的管理者可以为您生成访问令牌：",
    .elsewhereMake = "在中继服务所在的电脑上",
    .elsewhereUse = "然后在您的电脑上，以该令牌作为输入",
};

}  // namespace

const SignInTexts& signInTexts(PageLanguage language) {
    return language == PageLanguage::chinese ? chinese : english;
}

}  // namespace tarn::relay
