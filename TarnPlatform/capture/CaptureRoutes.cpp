#include "CaptureRoutes.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>

namespace tarn {

namespace {

enum class Group { front, centre, low, surround, single, elsewhere };

struct Place {
    std::string_view channel;  // the server's name
    Group group;
    std::string_view first;
    std::string_view second;  // empty: one is enough
};

// Height is left out: what is above goes where it would be without.
constexpr std::array places{
    Place{"FL", Group::front, "FL", ""},       Place{"FR", Group::front, "FR", ""},
    Place{"FLC", Group::front, "FL", ""},      Place{"FRC", Group::front, "FR", ""},
    Place{"FLW", Group::front, "FL", ""},      Place{"FRW", Group::front, "FR", ""},
    Place{"FLH", Group::front, "FL", ""},      Place{"FRH", Group::front, "FR", ""},
    Place{"TFL", Group::front, "FL", ""},      Place{"TFR", Group::front, "FR", ""},
    Place{"TFLC", Group::front, "FL", ""},     Place{"TFRC", Group::front, "FR", ""},
    Place{"FC", Group::centre, "FC", ""},      Place{"FCH", Group::centre, "FC", ""},
    Place{"TC", Group::centre, "FC", ""},      Place{"TFC", Group::centre, "FC", ""},
    Place{"BC", Group::centre, "FC", ""},      Place{"LFE", Group::low, "LFE", ""},
    Place{"LFE2", Group::low, "LFE", ""},      Place{"LLFE", Group::low, "LFE", ""},
    Place{"RLFE", Group::low, "LFE", ""},      Place{"RL", Group::surround, "RL", ""},
    Place{"RR", Group::surround, "RR", ""},    Place{"SL", Group::surround, "RL", ""},
    Place{"SR", Group::surround, "RR", ""},    Place{"RLC", Group::surround, "RL", ""},
    Place{"RRC", Group::surround, "RR", ""},   Place{"TSL", Group::surround, "RL", ""},
    Place{"TSR", Group::surround, "RR", ""},   Place{"TRL", Group::surround, "RL", ""},
    Place{"TRR", Group::surround, "RR", ""},   Place{"RC", Group::surround, "RL", "RR"},
    Place{"TRC", Group::surround, "RL", "RR"}, Place{"BLC", Group::front, "FL", ""},
    Place{"BRC", Group::front, "FR", ""},      Place{"MONO", Group::single, "FL", "FR"},
};

constexpr Place nowhere{"", Group::elsewhere, "", ""};

const Place& placeOf(std::string_view channel) {
    const auto* found = std::ranges::find(places, channel, &Place::channel);
    return found == places.end() ? nowhere : *found;
}

bool holds(const std::vector<std::string>& channels, std::string_view channel) {
    return std::ranges::find(channels, channel) != channels.end();
}

bool plays(const std::vector<std::string>& channels, Group group) {
    return std::ranges::any_of(channels, [&](const auto& name) { return placeOf(name).group == group; });
}

bool carries(const std::vector<GraphPort>& ports, std::string_view channel) {
    return std::ranges::find(ports, channel, &GraphPort::channel) != ports.end();
}

/// Whether the ports have every channel that the program has of this group.
bool carriesAll(const std::vector<GraphPort>& ports, const std::vector<std::string>& channels, Group group) {
    return std::ranges::all_of(
        channels, [&](const auto& name) { return placeOf(name).group != group || carries(ports, name); });
}

bool isWanted(const GraphPort& port, const std::vector<GraphPort>& ports,
              const std::vector<std::string>& channels) {
    const Group group = placeOf(port.channel).group;
    // Before the server has said what the program plays, everything counts as its own.
    if (channels.empty() || group == Group::single || holds(channels, port.channel)) {
        return true;
    }
    // A single channel, or what has no port of its own, is spread over the front or has no position.
    const bool isWhole =
        std::ranges::all_of(channels, [&](const auto& name) { return carries(ports, name); });
    if (group == Group::elsewhere || !plays(channels, group)) {
        return !isWhole && (group == Group::elsewhere || group == Group::front);
    }
    return !carriesAll(ports, channels, group);
}

/// A program whose one channel is the centre. The adapter turns it up by 3 dB where it has no centre to give
/// it to.
std::vector<CaptureRoute> routesOfLoneCentre(const std::vector<GraphPort>& ports) {
    for (const std::string_view name : {"FC", "MONO"}) {
        if (const auto port = std::ranges::find(ports, name, &GraphPort::channel); port != ports.end()) {
            return {{port->id, "FL"}, {port->id, "FR"}};
        }
    }
    const auto left = std::ranges::find(ports, "FL", &GraphPort::channel);
    return left == ports.end() ? std::vector<CaptureRoute>() : std::vector<CaptureRoute>{{left->id, "FC"}};
}

}  // namespace

std::vector<CaptureRoute> captureRoutes(const GraphNode& program, const std::vector<GraphPort>& ports) {
    if (program.channels.size() == 1 && program.channels.front() == "FC") {
        return routesOfLoneCentre(ports);
    }
    std::vector<CaptureRoute> routes;
    const auto without = std::ranges::count_if(
        ports, [](const auto& port) { return placeOf(port.channel).group == Group::elsewhere; });
    std::size_t turn = 0;
    for (const GraphPort& port : ports) {
        const Place& place = placeOf(port.channel);
        if (!isWanted(port, ports, program.channels)) {
            continue;
        }
        if (place.group == Group::elsewhere) {
            // One channel without a position is the whole sound and goes to both sides; of several, none is
            // known to belong to a side, so that they are dealt out in turn and nothing is lost.
            if (without == 1) {
                routes.push_back({port.id, "FL"});
                routes.push_back({port.id, "FR"});
            } else {
                routes.push_back({port.id, turn++ % 2 == 0 ? "FL" : "FR"});
            }
            // The adapter has summed several channels into this one, 3 dB above their mean; as a centre it
            // comes out 3 dB down.
        } else if (place.group == Group::single && program.channels.size() > 1) {
            routes.push_back({port.id, "FC"});
        } else {
            routes.push_back({port.id, place.first});
            if (!place.second.empty()) {
                routes.push_back({port.id, place.second});
            }
        }
    }
    return routes;
}

}  // namespace tarn
