#include "SessionHealth.h"

namespace tarn {

AddedText textOf(SessionFault fault) {
    switch (fault) {
#define TARN_TEXT(fault, english, chinese) \
    case SessionFault::fault:              \
        return AddedText::fault;
#include "TarnApp/localization/HealthTexts.h"
#undef TARN_TEXT
    }
    return {};
}

std::string_view nameOf(SessionFault fault) {
    return TextTable<AddedText>::rows.at(static_cast<std::size_t>(textOf(fault))).key;
}

}  // namespace tarn
