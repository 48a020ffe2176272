#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarn {

struct HttpHeader {
    std::string name;
    std::string value;
};

/// Compares as HTTP compares names of headers and other tokens: the case of ASCII letters does not count.
bool sameIgnoringCase(std::string_view left, std::string_view right);

/// The value of the first header of that name, whose case does not count; empty where there is none.
std::string_view headerValue(const std::vector<HttpHeader>& headers, std::string_view name);

}  // namespace tarn
