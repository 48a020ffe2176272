#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarn {

using Properties = std::map<std::string, std::string, std::less<>>;

/// Ids are the server's: valid while the object is there and given again afterwards. What tells two objects
/// apart for good is the property "object.serial".
using GraphId = std::uint32_t;

struct GraphClient {
    GraphId id = 0;
    Properties properties;
    bool described = false;  ///< the properties are complete, not only those of the first announcement
};

struct GraphPort {
    GraphId id = 0;
    GraphId node = 0;
    bool output = false;
    bool monitor = false;  ///< repeats what a sink or an input plays
    std::string channel;   ///< "FL", "MONO", "AUX0", …
};

struct GraphNode {
    GraphId id = 0;
    Properties properties;
    bool described = false;  ///< as for clients
    bool running = false;    ///< takes part in the graph's cycles just now

    // What the node's own adapter does, between the program and its ports. Empty until told.
    std::vector<std::string> channels;  ///< of the program's sound, which its ports need not have
    std::vector<float> volumes;         ///< linear, one for each of these channels
    std::vector<float> softVolumes;     ///< the factors really applied; `volumes` unless somebody set others
    float askedFactor = 1;              ///< of `volumes`, that this process asked to be applied last

    // The format that the device runs in, or would. Empty until told.
    std::uint32_t deviceRate = 0;  ///< Hz; 0: whatever the graph has
    std::vector<std::string> deviceChannels;

    const std::string& mediaClass() const;
    /// By how much the program is quieter than it would be because this process turned it down: the larger of
    /// the factor that was asked for and the one that is told, so never less than what is to be heard.
    float turnedDownTo() const;
    /// Whether the adapter applies `volumes`, which everybody sees, as they are.
    bool appliesItsVolumes() const;
    bool isOutputStream() const;  ///< a program that plays
    bool isSink() const;
    bool isSource() const;  ///< a microphone, real or virtual
};

/// What the audio server says is there. Value type.
struct Graph {
    std::map<GraphId, GraphClient> clients;
    std::map<GraphId, GraphNode> nodes;
    std::map<GraphId, GraphPort> ports;
    std::optional<std::string> defaultSink;    ///< node name
    std::optional<std::string> defaultSource;  ///< node name; may be a sink's where there is no microphone
    bool isManaged = false;                    ///< a session manager keeps the defaults and makes links
    std::uint32_t managerReturns = 0;          ///< how often one came after another had gone
    std::uint64_t managerSerial = 0;           ///< of the one that is there: what was made before has less
    std::optional<GraphId> ownClient;          ///< of the connection that this was read through

    const GraphNode* nodeNamed(std::string_view name) const;
    const GraphNode* defaultOutput() const;  ///< null where there is none
    const GraphClient* clientOf(const GraphNode& node) const;
};

/// The property's text, or an empty one.
const std::string& property(const Properties& properties, std::string_view key);

/// The server's number of an object, in the order of their making; 0 where it has none.
std::uint64_t serialOf(const Properties& properties);

/// The first that is not empty, of the node's own properties and then of its client's.
const std::string& property(const Graph& graph, const GraphNode& node, std::string_view key);

/// Whether a stream only plays again what was played to an output: the far end of a virtual output (an echo
/// canceller, a filter, several outputs as one) or of a loopback from an output's monitor.
bool repeatsAnOutput(const Graph& graph, const GraphNode& stream);

/// The channels that a microphone gives, in order, in the server's names; empty where it does not say.
std::vector<std::string> sourceChannels(const Graph& graph, const GraphNode& node);

}  // namespace tarn
