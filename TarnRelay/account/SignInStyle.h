#pragma once

#include <string>
#include <string_view>

namespace tarn::relay {

/// The style sheet of the sign-in pages. It must stand inside "<style>" unchanged, for its hash to match.
std::string_view signInStyle();

/// The source expression by which a content security policy allows that sheet and no other: its SHA-256 in
/// quotes.
const std::string& signInStyleSource();

}  // namespace tarn::relay
