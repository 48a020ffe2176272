#pragma once

#include <boost/json/fwd.hpp>
#include <optional>
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

/// Reads the member "languages" of an answer. Servers need not tell their languages, so parts that cannot be
/// used are left out without an error.
std::optional<ServerLanguages> readLanguages(const boost::json::value& value);

}  // namespace tarn
