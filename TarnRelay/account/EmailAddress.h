#pragma once

#include <string_view>

namespace tarn::relay {

/// Whether `text` is what browsers take in an e-mail field: the HTML standard's "valid e-mail address"
/// (ASCII, no quoted local part, labels of 63 characters), and no longer than 254 bytes (RFC 5321).
bool isEmailAddress(std::string_view text);

}  // namespace tarn::relay
