#include "Http.h"

#include <boost/beast/core/string.hpp>

namespace tarn {

bool sameIgnoringCase(std::string_view left, std::string_view right) {
    return boost::beast::iequals(left, right);
}

std::string_view headerValue(const std::vector<HttpHeader>& headers, std::string_view name) {
    for (const auto& header : headers) {
        if (sameIgnoringCase(header.name, name)) {
            return header.value;
        }
    }
    return {};
}

}  // namespace tarn
