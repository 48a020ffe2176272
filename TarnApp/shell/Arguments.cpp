#include "Arguments.h"

#include <algorithm>

#include "TarnApp/session/Link.h"

namespace tarn {

Arguments readArguments(const std::vector<std::string>& words) {
    if (words.empty()) {
        return {.task = Arguments::Task::window};
    }
    if (words.size() == 1 && words.front() == "--service") {
        return {.task = Arguments::Task::service};
    }
    if (words.front() == "doctor") {
        const bool asJson = words.size() == 2 && words.back() == "--json";
        if (words.size() == 1 || asJson) {
            return {.task = Arguments::Task::doctor, .asJson = asJson};
        }
        return {.task = Arguments::Task::wrong, .complaint = "usage: tarn doctor [--json]"};
    }
    if (!std::ranges::all_of(words, isLink)) {
        return {.task = Arguments::Task::wrong,
                .complaint =
                    "the arguments are not addresses of the scheme tarn (usage: tarn [tarn://…] or tarn "
                    "doctor [--json])"};
    }
    return {.task = Arguments::Task::links, .links = words};
}

}  // namespace tarn
