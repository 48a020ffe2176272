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

}  // namespace tarn
