#pragma once

#include <string>

namespace tarn {

/// Whether `text` can be an address of the scheme "tarn": text in UTF-8 without control characters, not
/// longer than what one running program hands to another. What it asks for is not looked at.
bool isLink(const std::string& text);

}  // namespace tarn
