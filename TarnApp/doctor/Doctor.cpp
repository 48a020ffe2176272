#include "Doctor.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "CheckRunner.h"
#include "Checks.h"
#include "DoctorReport.h"
#include "TarnApp/localization/AppLanguage.h"

namespace tarn {
namespace {

constexpr std::chrono::milliseconds usual{3000};
/// The three checks of the account run one after the other.
constexpr std::chrono::milliseconds longest{5900};

using Work = void (*)(const Wording&, const Report&);

Check check(std::vector<std::string> names, Work work, const Wording& say,
            std::chrono::milliseconds limit = usual) {
    return {std::move(names), limit, [work, say](const Report& report) { work(say, report); }};
}

std::vector<Check> allChecks(const Wording& say) {
    using namespace CheckName;
    return {
        check({audioServer, sessionManager, defaultOutput, defaultInput, capture, microphones}, Checks::audio,
              say),
        check({keyring}, Checks::keyring, say),
        check({server, token, certificates}, Checks::account, say, longest),
        check({proxy}, Checks::proxy, say),
        check({display}, Checks::display, say),
        check({portals}, Checks::portals, say),
        check({links}, Checks::links, say),
        check({fonts}, Checks::fonts, say),
        check({settings}, Checks::settings, say),
        check({instance}, Checks::instance, say),
    };
}

}  // namespace

void Doctor::examine(Format format) {
    const Wording say(AppLanguage::shown());
    const auto results = CheckRunner::run(allChecks(say), say);
    const auto text =
        format == Format::json ? DoctorReport::asJson(results) : DoctorReport::asText(results, say);
    std::fputs(text.c_str(), stdout);
    const bool isWritten = std::fflush(stdout) == 0;
    std::_Exit(isWritten && DoctorReport::isGood(results) ? EXIT_SUCCESS : EXIT_FAILURE);
}

}  // namespace tarn
