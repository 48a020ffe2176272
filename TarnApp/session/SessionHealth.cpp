#include "SessionHealth.h"

#include "TarnPlatform/text/FilledText.h"

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
    switch (fault) {
#define TARN_SESSION_FAULT(fault, english, chinese) \
    case SessionFault::fault:                       \
        return filledText(english, {value});
#include "SessionHealthTexts.h"
#undef TARN_SESSION_FAULT
    }
    return {};
}

}  // namespace tarn
