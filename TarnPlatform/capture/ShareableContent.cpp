#include "ShareableContent.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "TarnPlatform/audioserver/AudioServer.h"

namespace tarn {

namespace {

std::string firstOf(const Graph& graph, const GraphNode& node, std::initializer_list<std::string_view> keys) {
    for (const std::string_view key : keys) {
        if (const std::string& value = property(graph, node, key); !value.empty()) {
            return value;
        }
    }
    return {};
}

std::optional<std::int64_t> numberIn(const std::string& text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number > 0 ? std::optional(number)
                                                                                  : std::nullopt;
}

std::int64_t processOf(const Graph& graph, const GraphNode& node) {
    if (AudioServer::isOwn(graph, node)) {
        return getpid();
    }
    // The socket tells the truth, unless the process behind it speaks for another.
    const GraphClient* client = graph.clientOf(node);
    if (client != nullptr && property(client->properties, "client.api") != "pipewire-pulse") {
        if (const auto real = numberIn(property(client->properties, "pipewire.sec.pid"))) {
            return *real;
        }
    }
    return numberIn(property(graph, node, "application.process.id")).value_or(0);
}

}  // namespace

RunningApplication applicationOf(const Graph& graph, const GraphNode& node) {
    return {.bundleIdentifier = firstOf(graph, node,
                                        {"pipewire.access.portal.app_id", "application.id",
                                         "application.process.binary", "application.name", "node.name"}),
            .applicationName =
                firstOf(graph, node, {"application.name", "node.description", "node.nick", "node.name"}),
            .processID = processOf(graph, node)};
}

ShareableContent shareableContent(const Graph& graph) {
    ShareableContent content;
    std::set<std::pair<std::string, std::string>> listed;
    for (const auto& [id, node] : graph.nodes) {
        if (node.isSink()) {
            content.displays.push_back(
                {id, firstOf(graph, node, {"node.description", "node.nick", "node.name"})});
        } else if (node.isOutputStream() && !repeatsAnOutput(graph, node)) {
            RunningApplication application = applicationOf(graph, node);
            if (listed.emplace(property(node.properties, "client.id"), application.bundleIdentifier).second) {
                content.applications.push_back(std::move(application));
            }
        }
    }
    return content;
}

}  // namespace tarn
