// What of a graph can be captured, and what programs are called.

#include "TarnPlatform/capture/ShareableContent.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/capture/ContentFilter.h"

namespace tarn {
namespace {

void addNode(Graph& graph, GraphId id, const std::string& mediaClass, Properties properties) {
    properties["media.class"] = mediaClass;
    GraphNode node;
    node.id = id;
    node.properties = std::move(properties);
    graph.nodes[id] = node;
}

TEST(ShareableContent, NamesAProgramByTheFirstOfItsNames) {
    const struct {
        Properties client;
        Properties node;
        RunningApplication expected;
    } cases[] = {
        {{{"pipewire.access.portal.app_id", "org.portal"}, {"pipewire.sec.pid", "7"}},
         {{"application.id", "org.app"}, {"application.name", "App"}},
         {"org.portal", "App", 7}},
        {{{"application.process.binary", "bin"}},
         {{"application.id", "org.app"}, {"node.name", "n"}},
         {"org.app", "n", 0}},
        {{{"application.process.binary", "bin"}, {"application.name", "Program"}},
         {{"node.name", "n"}, {"node.description", "Description"}},
         {"bin", "Program", 0}},
        {{}, {{"node.name", "n"}, {"node.description", "Description"}}, {"n", "Description", 0}},
        // A client of the PulseAudio server has that server's process on the socket.
        {{{"client.api", "pipewire-pulse"}, {"pipewire.sec.pid", "7"}, {"application.process.id", "9"}},
         {{"application.process.binary", "pacat"}},
         {"pacat", "", 9}},
        {{{"pipewire.sec.pid", "-"}, {"application.process.id", "9x"}}, {{"node.name", "n"}}, {"n", "n", 0}},
        {{{"pipewire.sec.pid", std::to_string(::getpid())}}, {{"node.name", "n"}}, {"n", "n", ::getpid()}},
        {{{"pipewire.sec.pid", "7"}},
         {{"node.name", "n"}, {AudioServer::instanceKey, AudioServer::instanceTag()}},
         {"n", "n", ::getpid()}},
    };
    for (const auto& [client, node, expected] : cases) {
        Graph graph;
        graph.clients[5] = GraphClient{5, client, true};
        auto properties = node;
        properties["client.id"] = "5";
        addNode(graph, 6, "Stream/Output/Audio", properties);
        const auto content = shareableContent(graph);
        EXPECT_THAT(content.applications, testing::ElementsAre(expected));
        EXPECT_EQ(AudioServer::isOwn(graph, graph.nodes[6]), expected.processID == ::getpid());
    }
}

TEST(ShareableContent, ListsOutputsAndEachProgramOfAClientOnce) {
    Graph graph;
    addNode(graph, 1, "Audio/Sink", {{"node.name", "sink"}, {"node.description", "Loudspeaker"}});
    addNode(graph, 2, "Audio/Source", {{"node.name", "microphone"}});
    addNode(graph, 3, "Stream/Input/Audio", {{"node.name", "recorder"}});
    addNode(graph, 9, "Stream/Output/Audio", {{"node.name", "b"}, {"client.id", "4"}});
    addNode(graph, 10, "Stream/Output/Audio", {{"node.name", "a"}, {"client.id", "4"}});
    addNode(graph, 11, "Stream/Output/Audio", {{"node.name", "b"}, {"client.id", "4"}});
    addNode(graph, 12, "Stream/Output/Audio", {{"node.name", "b"}, {"client.id", "8"}});
    const auto content = shareableContent(graph);
    ASSERT_EQ(content.displays.size(), 1U);
    EXPECT_EQ(content.displays[0].displayID, 1U);
    EXPECT_EQ(content.displays[0].name, "Loudspeaker");
    EXPECT_THAT(content.applications,
                testing::ElementsAre(RunningApplication{"b", "b", 0}, RunningApplication{"a", "a", 0},
                                     RunningApplication{"b", "b", 0}));
}

TEST(ContentFilter, KnowsProgramsByIdentifierAndExcludedOnesByTheirProcessToo) {
    const auto including = ContentFilter::including({}, {{"org.app", "App", 7}});
    EXPECT_TRUE(including.accepts({"org.app", "Other name", 8}));
    const auto excluding = ContentFilter::excluding({}, {{"org.app", "App", 7}});
    EXPECT_FALSE(excluding.accepts({"org.app", "App", 7}));
    EXPECT_TRUE(excluding.accepts({"org.app", "App", 8}));
    EXPECT_FALSE(excluding.accepts({"org.app", "App", 0}));
}

}  // namespace
}  // namespace tarn
