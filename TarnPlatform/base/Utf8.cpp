#include "Utf8.h"

#include <boost/locale/utf.hpp>

namespace tarn {

bool isUtf8(std::string_view text) {
    const auto* at = text.data();
    const auto* const end = at + text.size();
    while (at != end) {
        if (!boost::locale::utf::is_valid_codepoint(boost::locale::utf::utf_traits<char>::decode(at, end))) {
            return false;
        }
    }
    return true;
}

}  // namespace tarn
