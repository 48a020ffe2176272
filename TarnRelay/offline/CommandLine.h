#pragma once

#include <boost/json/object.hpp>
#include <chrono>
#include <string>
#include <string_view>

#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/process/ChildConversation.h"
#include "TarnPlatform/process/ChildProcess.h"

namespace tarn::relay {

/// How long a command of the user's own may take: big models load slowly, but nobody waits longer than this
/// for a sentence.
inline constexpr AnswerLimits commandLimits{.first = std::chrono::seconds(60),
                                            .later = std::chrono::seconds(10)};

/// Longest line that a command may write, in bytes.
inline constexpr std::size_t longestCommandLine = 1 << 20;

/// The command for a command line of the user's own, whose standard error goes to ours, line by line.
ChildCommand userCommand(std::string line);

/// An object as the line that a command reads, newline included.
std::string commandLine(const boost::json::object& object);

/// The object in a line that a command wrote. Fails with `protocol`, without repeating what was written.
Result<boost::json::object> parseCommandLine(std::string_view line);

/// The text in the member "text" of such an object. Fails with `protocol` where there is none.
Result<std::string> textOf(const boost::json::object& object);

/// Writes a line to a command and reads the object in the line that it answers with.
Result<boost::json::object> askForObject(ChildProcess& child, std::string_view question,
                                         ChildProcess::TimePoint deadline);

}  // namespace tarn::relay
