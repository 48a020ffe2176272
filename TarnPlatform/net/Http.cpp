#include "Http.h"

#include <boost/beast/core/string.hpp>

namespace tarn {

std::string_view headerValue(const std::vector<HttpHeader>& headers, std::string_view name) {
    for (const auto& header : headers) {
        if (boost::beast::iequals(header.name, name)) {
            return header.value;
        }
    }
    return {};
}

}  // namespace tarn
