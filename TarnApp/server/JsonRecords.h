#pragma once

#include <string>
#include <string_view>

#include "TarnPlatform/base/Result.h"
#include "UserAccount.h"

namespace tarn {

/// "user_id" becomes "userId": underscores inside a key go, and the words behind them begin with a capital
/// and go on in lower case. Leading and trailing underscores stay, and a key without any inside is not
/// touched.
std::string camelCaseKey(std::string_view key);

/// Reads a record out of a JSON object whose keys are in snake_case or camelCase; other keys are ignored.
/// Fails with `protocol`.
template <typename Record>
Result<Record> decodeRecord(std::string_view body);

template <>
Result<UserAccount> decodeRecord(std::string_view body);

}  // namespace tarn
