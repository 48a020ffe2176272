#include <array>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "Checks.h"
#include "TarnApp/session/Link.h"
#include "TarnPlatform/bus/BusNames.h"
#include "TarnPlatform/desktop/SchemeRegistration.h"
#include "TarnPlatform/windows/DisplayFacts.h"
#include "TarnPlatform/windows/InstalledFonts.h"

namespace tarn {
namespace {

using enum CheckStatus;

CheckResult displayResult(const DisplayFacts& facts, const Wording& say) {
    const auto kind = (facts.isXwayland ? "Xwayland " : "X11 ") + facts.display;
    CheckResult result{.name = CheckName::display, .status = warning};
    if (facts.windowManager.empty()) {
        result.detail = say(DoctorText::displayNoManager, {kind});
        result.advice = say(DoctorText::displayNoManagerAdvice);
    } else if (!facts.hasCompositor) {
        result.detail = say(DoctorText::displayNoCompositor, {kind, facts.windowManager});
        result.advice = say(DoctorText::displayNoCompositorAdvice);
    } else if (!facts.staysAbove) {
        result.detail = say(DoctorText::displayNotAbove, {kind, facts.windowManager});
        result.advice = say(DoctorText::displayNotAboveAdvice);
    } else {
        result.status = ok;
        result.detail = say(DoctorText::displayWorks, {kind, facts.windowManager});
    }
    return result;
}

}  // namespace

void Checks::display(const Wording& say, const Report& report) {
    const auto facts = DisplayFacts::read();
    if (facts) {
        report(displayResult(*facts, say));
        return;
    }
    const char* const wayland = std::getenv("WAYLAND_DISPLAY");
    const bool isWayland = wayland != nullptr && *wayland != '\0';
    report({.name = CheckName::display,
            .status = warning,
            .detail = say(isWayland ? DoctorText::displayWayland : DoctorText::displayAbsent,
                          {facts.error().description}),
            .advice = say(isWayland ? DoctorText::displayWaylandAdvice : DoctorText::displayAbsentAdvice)});
}

void Checks::portals(const Wording& say, const Report& report) {
    CheckResult result{.name = CheckName::portals, .status = warning};
    const auto presence = busNamePresence("org.freedesktop.portal.Desktop", patience);
    if (!presence) {
        result.detail = presence.error().description;
        result.advice = say(DoctorText::instanceAdvice);
    } else if (*presence == BusNamePresence::absent) {
        // The program can do everything without portals.
        result.status = ok;
        result.detail = say(DoctorText::portalsAbsent);
        result.advice = say(DoctorText::portalsAdvice);
    } else if (*presence == BusNamePresence::activatable) {
        result.status = ok;
        result.detail = say(DoctorText::portalsReady);
    } else if (const auto version = portalSettingsVersion(patience); !version) {
        result.detail = version.error().description;
        result.advice = say(DoctorText::portalsAdvice);
    } else if (!*version) {
        result.detail = say(DoctorText::portalsNoSettings);
        result.advice = say(DoctorText::portalsAdvice);
    } else {
        result.status = ok;
        result.detail = say(DoctorText::portalsWork);
    }
    report(std::move(result));
}

void Checks::links(const Wording& say, const Report& report) {
    if (const auto handler = SchemeRegistration::handlerOf("tarn")) {
        report({.name = CheckName::links, .detail = say(DoctorText::linksWork, {*handler})});
    } else {
        report({.name = CheckName::links,
                .status = warning,
                .detail = say(DoctorText::linksAbsent),
                .advice = say(DoctorText::linksAdvice)});
    }
}

void Checks::fonts(const Wording& say, const Report& report) {
    // Scripts have the same names in all languages of the interface.
    static const std::vector<FontScript> scripts{
        {"Latin", U'A'},     {"Кириллица", U'\u0416'}, {"汉字", U'\u5B57'},
        {"かな", U'\u304B'}, {"한글", U'\uD55C'},      {"العربية", U'\u0639'},
        {"ไทย", U'\u0E01'},  {"हिन्दी", U'\u0905'},     {"emoji", U'\U0001F3A4'}};
    std::string missing;
    for (const auto& script : scriptsWithoutFont(scripts)) {
        missing += (missing.empty() ? "" : ", ") + std::string(script.name);
    }
    if (missing.empty()) {
        report({.name = CheckName::fonts, .detail = say(DoctorText::fontsComplete)});
    } else {
        report({.name = CheckName::fonts,
                .status = warning,
                .detail = say(DoctorText::fontsMissing, {missing}),
                .advice = say(DoctorText::fontsAdvice)});
    }
}

void Checks::instance(const Wording& say, const Report& report) {
    const auto presence = busNamePresence(applicationID, patience);
    if (!presence) {
        report({.name = CheckName::instance,
                .status = warning,
                .detail = say(DoctorText::instanceUnknown, {presence.error().description}),
                .advice = say(DoctorText::instanceAdvice)});
        return;
    }
    const bool isRunning = *presence == BusNamePresence::owned;
    report({.name = CheckName::instance,
            .detail = say(isRunning ? DoctorText::instanceRuns : DoctorText::instanceNone)});
}

}  // namespace tarn
