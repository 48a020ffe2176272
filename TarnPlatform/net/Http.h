#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarn {

struct HttpHeader {
    std::string name;
    std::string value;
};

/// The value of the first header of that name, whose case does not count; empty where there is none.
std::string_view headerValue(const std::vector<HttpHeader>& headers, std::string_view name);

}  // namespace tarn
