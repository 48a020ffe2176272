#include "SessionHealth.h"

namespace tarn {

std::string_view nameOf(SessionFault fault) {
    switch (fault) {
#define TARN_SESSION_FAULT(fault, english, chinese) \
    case SessionFault::fault:                       \
        return #fault;
#include "SessionHealthTexts.h"
#undef TARN_SESSION_FAULT
    }
    return {};
}

std::string englishText(SessionFault fault, const std::string& value) {
    std::string text;
    switch (fault) {
#define TARN_SESSION_FAULT(fault, english, chinese) \
    case SessionFault::fault:                       \
        text = english;                             \
        break;
#include "SessionHealthTexts.h"
#undef TARN_SESSION_FAULT
    }
    const auto place = text.find("%1");
    return place == std::string::npos ? text : text.replace(place, 2, value);
}

}  // namespace tarn
