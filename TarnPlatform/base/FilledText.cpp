#include "FilledText.h"

#include "Printable.h"

namespace tarn {

std::string filledText(std::string_view pattern, std::initializer_list<std::string_view> arguments) {
    std::string filled;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const auto number = pattern[i] == '%' && i + 1 < pattern.size()
                                ? static_cast<std::size_t>(pattern[i + 1] - '1')
                                : arguments.size();
        if (number < arguments.size()) {
            filled += printable(arguments.begin()[number]);
            ++i;
        } else {
            filled += pattern[i];
        }
    }
    return filled;
}

}  // namespace tarn
