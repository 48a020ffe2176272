#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarn {

struct HttpHeader {
    std::string name;
    std::string value;
};

/// The first header of that name (compared without letter case), or nothing found: empty.
std::string_view headerValue(const std::vector<HttpHeader>& headers, std::string_view name);

}  // namespace tarn
