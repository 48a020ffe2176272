#include "CommandLine.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

namespace tarn::relay {
namespace {

namespace json = boost::json;

constexpr std::size_t deepest = 8;

}  // namespace

ChildCommand userCommand(std::string line) {
    auto command = ChildCommand::shell(std::move(line));
    command.errors = ChildErrors::log;
    return command;
}

std::string commandLine(const json::object& object) {
    return json::serialize(object) + "\n";
}

Result<json::object> parseCommandLine(std::string_view line) {
    // The command's output is not trusted more than a client's: its nesting is limited, too.
    json::parse_options options;
    options.max_depth = deepest;
    boost::system::error_code invalid;
    auto value = json::parse(json::string_view(line.data(), line.size()), invalid, {}, options);
    if (invalid || !value.is_object()) {
        return failure(ErrorKind::protocol, "wrote a line that is not a JSON object");
    }
    return std::move(value.get_object());
}

Result<std::string> textOf(const json::object& object) {
    const auto* const text = object.if_contains("text");
    if (text == nullptr || !text->is_string()) {
        return failure(ErrorKind::protocol, "wrote a line without \"text\"");
    }
    return std::string(text->get_string());
}

Result<json::object> askForObject(ChildProcess& child, std::string_view question,
                                  ChildProcess::TimePoint deadline) {
    if (const auto written = child.write(question, deadline); !written) {
        return std::unexpected(written.error());
    }
    const auto line = child.readUntil('\n', longestCommandLine, deadline);
    if (!line) {
        return std::unexpected(line.error());
    }
    return parseCommandLine(*line);
}

}  // namespace tarn::relay
