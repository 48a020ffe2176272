// tarn-unduck: reads the serials of streams that were turned down, a line each, and "up" when none is any
// more. When its input ends, it turns those up again. Started by the program that turns them down; not for
// the command line.

#include <csignal>
#include <iostream>
#include <set>
#include <string>

#include "TarnPlatform/audioserver/AudioServer.h"

int main() {
    // A session that ends sends these to all of its processes, to this one before it has done its work.
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(number, SIG_IGN);
    }
    std::set<std::string> serials;
    for (std::string line; std::getline(std::cin, line);) {
        if (line == "up") {
            serials.clear();
        } else {
            serials.insert(line);
        }
    }
    if (serials.empty()) {
        return 0;
    }
    tarn::AudioServer server;
    if (!server.snapshot()) {
        return 1;  // the streams have gone with the server
    }
    {
        const tarn::AudioServer::Lock lock(server);
        for (const auto& [id, node] : server.graph().nodes) {
            if (serials.contains(tarn::property(node.properties, "object.serial")) &&
                !node.appliesItsVolumes()) {
                server.setVolumeFactor(node.id, 1);
            }
        }
    }
    return server.snapshot() ? 0 : 1;  // the answer says that the changes have arrived
}
