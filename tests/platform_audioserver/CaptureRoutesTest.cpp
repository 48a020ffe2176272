// Which ports of a program a capture links: a table of what programs play and what their ports are.

#include "TarnPlatform/capture/CaptureRoutes.h"

#include <gmock/gmock.h>

#include <sstream>

namespace tarn {
namespace {

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

TEST(CaptureRoutes, TakeEachOfTheProgramsOwnChannelsOnce) {
    const struct {
        const char* program;
        const char* ports;
        const char* routes;
    } cases[] = {
        {"FL FR", "MONO", "MONO>FC"},
        {"MONO", "FL FR FC LFE RL RR", "FL>FL FR>FR"},
        {"FL FR FC LFE RL RR", "FL FR", "FL>FL FR>FR"},
        {"FL FR FC LFE SL SR", "FL FR FC LFE RL RR", "FL>FL FR>FR FC>FC LFE>LFE RL>RL RR>RR"},
        {"FL FR FC LFE RL RR SL SR", "FL FR FC LFE RL RR SL SR",
         "FL>FL FR>FR FC>FC LFE>LFE RL>RL RR>RR SL>RL SR>RR"},
        {"FL FR RC", "FL FR RC", "FL>FL FR>FR RC>RL RC>RR"},
        {"FC", "FL FR FC LFE RL RR", "FC>FL FC>FR"},
        {"FC", "FL FR", "FL>FC"},
        {"AUX0 AUX1 AUX2", "AUX0 AUX1 AUX2", "AUX0>FL AUX1>FR AUX2>FL"},
        {"MONO", "AUX0", "AUX0>FL AUX0>FR"},
        {"UNK UNK", "FL FR", "FL>FL FR>FR"},
        {"", "FL FR FC", "FL>FL FR>FR FC>FC"},
        {"FL FR", "FL FR FC LFE RL RR AUX6", "FL>FL FR>FR"},
    };
    for (const auto& [program, portNames, expected] : cases) {
        GraphNode node;
        node.channels = words(program);
        std::vector<GraphPort> ports;
        for (const auto& name : words(portNames)) {
            GraphPort port;
            port.id = static_cast<GraphId>(100 + ports.size());
            port.output = true;
            port.channel = name;
            ports.push_back(port);
        }
        std::vector<std::string> routes;
        for (const auto& [port, channel] : captureRoutes(node, ports)) {
            routes.push_back(ports[port - 100].channel + ">" + std::string(channel));
        }
        EXPECT_THAT(routes, testing::UnorderedElementsAreArray(words(expected)))
            << program << " on " << portNames;
    }
}

}  // namespace
}  // namespace tarn
