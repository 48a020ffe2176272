#include "PrivateAudioServer.h"

#include <signal.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "SoundFiles.h"
#include "Until.h"

namespace tarn::test {
namespace {

constexpr const char* devicesConfiguration = R"(
context.objects = [
  { factory = adapter
    args = { factory.name = support.null-audio-sink  node.name = tarn-test-out
             node.description = "Test output"  media.class = Audio/Sink
             object.linger = true  audio.position = [ FL FR ]  priority.session = 2000 } }
  { factory = adapter
    args = { factory.name = support.null-audio-sink  node.name = tarn-test-mic-feed
             node.description = "Test microphone feed"  media.class = Audio/Sink
             object.linger = true  audio.position = [ FL FR ]  priority.session = 100 } }
]
context.modules = [
  { name = libpipewire-module-loopback
    args = { audio.position = [ FL FR ]
             capture.props  = { node.name = tarn-test-mic-in  node.target = tarn-test-mic-feed
                                stream.capture.sink = true  node.passive = true
                                node.dont-reconnect = true }
             playback.props = { node.name = tarn-test-mic  node.description = "Test microphone"
                                media.class = Audio/Source  priority.session = 2000 } } }
]
)";

constexpr const char* noHardware = R"(
alsa_monitor.enabled = false
v4l2_monitor.enabled = false
if libcamera_monitor then libcamera_monitor.enabled = false end
)";

void write(const std::filesystem::path& path, const std::string& content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path);
    file << content;
    if (!file.flush()) {
        throw std::runtime_error("private audio server: cannot write " + path.string());
    }
}

std::string quoted(const std::string& name) {
    return "\"" + name + "\"";
}

}  // namespace

PrivateAudioServer::PrivateAudioServer(const AudioServerOptions& options) : options_(options) {
    for (const auto* const name :
         {"PIPEWIRE_REMOTE", "PIPEWIRE_RUNTIME_DIR", "PIPEWIRE_LATENCY", "PIPEWIRE_NODE", "PIPEWIRE_PROPS",
          "PULSE_SERVER", "PULSE_SINK", "PULSE_SOURCE", "PULSE_RUNTIME_PATH"}) {
        environment_.set(name, std::nullopt);
    }
    environment_.set("XDG_RUNTIME_DIR", folder());
    if (options_.ownBus) {
        environment_.set("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (folder() / "bus").string());
    }
    // Made here, since pipewire-pulse takes it ill when a client makes it at the same moment.
    std::filesystem::create_directory(folder() / "pulse");
    std::filesystem::permissions(folder() / "pulse", std::filesystem::perms::owner_all);
    writeConfiguration();
    startBus();
    startSession();
    if (options_.devices && options_.sessionManager) {
        until("the test devices are the defaults",
              [&] { return hasDefault("sink", output) && hasDefault("source", microphone); });
    }
}

void PrivateAudioServer::writeConfiguration() const {
    const auto etc = folder() / "etc";
    if (options_.devices) {
        write(etc / "pipewire/pipewire.conf.d/50-test.conf", devicesConfiguration);
    }
    write(etc / "wireplumber/main.lua.d/51-test.lua", noHardware);
    write(etc / "wireplumber/bluetooth.lua.d/51-test.lua", "bluez_monitor.enabled = false\n");
    std::filesystem::create_directory(folder() / "state");
}

SessionProgram PrivateAudioServer::startDaemon(const std::vector<std::string>& command) {
    return SessionProgram(
        command,
        environmentWith({{"XDG_CONFIG_HOME", folder() / "etc"},
                         {"XDG_STATE_HOME", folder() / "state"},
                         {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (folder() / "bus").string()}}),
        newFile("." + command[0] + ".log"));
}

void PrivateAudioServer::startBus() {
    const auto address = "unix:path=" + (folder() / "bus").string();
    bus_ = startDaemon({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + address});
    until("the bus", [&] {
        return answer({"dbus-send", "--bus=" + address, "--print-reply", "--dest=org.freedesktop.DBus", "/",
                       "org.freedesktop.DBus.GetId"})
            .has_value();
    });
}

void PrivateAudioServer::startSession() {
    pipeWire_ = startDaemon({"pipewire"});
    until("PipeWire", [&] { return answer({"pw-cli", "info", "0"}).has_value(); });
    if (options_.sessionManager) {
        wirePlumber_ = startDaemon({"wireplumber"});
    }
    // It gives a session without outputs a dummy one.
    if (options_.pulse && options_.devices) {
        pulse_ = startDaemon({"pipewire-pulse"});
    }
    waitForSession();
}

void PrivateAudioServer::waitForSession() {
    if (wirePlumber_) {
        until("default devices", [&] {
            const auto nodes = answer({"pw-cli", "ls", "Node"}).value_or("");
            return (!nodes.contains(R"(media.class = "Audio/Sink)") || hasDefault("sink")) &&
                   (!nodes.contains(R"(media.class = "Audio/Source)") || hasDefault("source"));
        });
        if (options_.devices) {
            until("the microphone's link", [&] {
                return answer({"pw-link", "-l"}).value_or("").contains("|-> tarn-test-mic-in:input_FR");
            });
        } else {
            // Nothing that the session manager has done can be seen yet, so let it do something.
            const auto name = newNodeName();
            until("the session manager", [&] {
                return answer({"pw-metadata", "-n", "default", "0"}).value_or("").contains("Found");
            });
            addSource(name, "MONO");
            removeSource(name);
        }
    }
    if (pulse_) {
        until("pipewire-pulse", [&] { return answer({"pactl", "info"}).has_value(); });
    }
}

bool PrivateAudioServer::hasDefault(const std::string& kind, const std::string& name) {
    return answer({"pw-metadata", "-n", "default", "0", "default.audio." + kind})
        .value_or("")
        .contains(R"("name":")" + (name.empty() ? "" : name + "\""));
}

void PrivateAudioServer::killPipeWire() {
    pipeWire_->kill();
}

void PrivateAudioServer::startPipeWire() {
    pipeWire_.reset();
    pulse_.reset();
    wirePlumber_.reset();
    startSession();
}

void PrivateAudioServer::pausePipeWire() {
    pipeWire_->signal(SIGSTOP);
}

void PrivateAudioServer::resumePipeWire() {
    pipeWire_->signal(SIGCONT);
}

void PrivateAudioServer::stopWirePlumber() {
    if (wirePlumber_) {
        wirePlumber_->end(SIGTERM);
        wirePlumber_.reset();
    }
}

void PrivateAudioServer::startWirePlumber() {
    stopWirePlumber();
    wirePlumber_ = startDaemon({"wireplumber"});
    waitForSession();
}

SessionProgram PrivateAudioServer::runWirePlumber() {
    auto manager = startDaemon({"wireplumber"});
    until("the session manager", [&] { return hasDefault("sink"); });
    return manager;
}

void PrivateAudioServer::addSink(const std::string& name, const std::string& channelMap) {
    addNode(name, channelMap, "Audio/Sink");
}

void PrivateAudioServer::addSource(const std::string& name, const std::string& channelMap) {
    addNode(name, channelMap, "Audio/Source/Virtual");
}

SessionProgram PrivateAudioServer::addVirtualOutput(const std::string& name) {
    const std::string end = name + "-end";
    SessionProgram program = run(
        {"pw-loopback", "--capture-props",
         "{ media.class = Audio/Sink  node.name = " + quoted(name) + "  audio.position = [ FL FR ] }",
         "--playback-props",
         "{ node.name = " + quoted(end) + "  target.object = " + output + "  node.dont-reconnect = true }"});
    until(name + " plays on", [&] {
        return hasNode(name) && answer({"pw-link", "-l"}).value_or("").contains(end + ":output_FR");
    });
    return program;
}

void PrivateAudioServer::addNode(const std::string& name, const std::string& channelMap,
                                 const std::string& mediaClass) {
    auto positions = channelMap;
    std::ranges::replace(positions, ',', ' ');
    // Not through pipewire-pulse, which may be absent and takes its devices along when it dies.
    const auto made = answer({"pw-cli", "create-node", "adapter",
                              "{ factory.name = support.null-audio-sink  node.name = " + quoted(name) +
                                  "  node.description = " + quoted("Test device " + name) +
                                  "  media.class = " + mediaClass + "  audio.position = [ " + positions +
                                  " ]  object.linger = true }"});
    if (!made) {
        throw std::runtime_error("private audio server: cannot add " + name);
    }
    until("node " + name, [&] { return hasNode(name); });
    if (!wirePlumber_) {
        return;
    }
    // Each channel has a port to its device and one from it.
    const auto ports = 2 * (1 + std::ranges::count(channelMap, ','));
    until("ports of " + name, [&] {
        std::istringstream lines(answer({"pw-link", "-io"}).value_or(""));
        std::ptrdiff_t count = 0;
        for (std::string line; std::getline(lines, line);) {
            count += line.starts_with(name + ":") ? 1 : 0;
        }
        return count == ports;
    });
}

void PrivateAudioServer::remove(const std::string& name) {
    if (!hasNode(name)) {
        throw std::runtime_error("private audio server: no node " + name);
    }
    answer({"pw-cli", "destroy", name});
    until("end of " + name, [&] { return !hasNode(name); });
}

void PrivateAudioServer::setDefault(const std::string& kind, const std::string& name) {
    if (!answer({"pw-metadata", "-n", "default", "0", "default.configured.audio." + kind,
                 "{ \"name\": " + quoted(name) + " }", "Spa:String:JSON"})) {
        throw std::runtime_error("private audio server: cannot choose " + name);
    }
    if (wirePlumber_) {
        until(name + " is the default", [&] { return hasDefault(kind, name); });
    }
}

SessionProgram PrivateAudioServer::run(const std::vector<std::string>& command) {
    return SessionProgram(command, environmentWith({}), newFile(".log"));
}

std::optional<std::string> PrivateAudioServer::answer(const std::vector<std::string>& command) {
    const auto log = newFile(".log");
    SessionProgram program(command, environmentWith({{"LC_ALL", "C"}}), log);
    bool isWell = false;
    try {
        isWell = program.wait(std::chrono::seconds(5)) == 0;
    } catch (const std::runtime_error&) {
        // A client that meets a server in its first moment may wait for ever: who asks again gets an answer.
        program.kill();
    }
    auto text = program.output();
    std::filesystem::remove(log);
    return isWell ? std::optional(std::move(text)) : std::nullopt;
}

bool PrivateAudioServer::hasNode(const std::string& name) {
    return answer({"pw-cli", "ls", "Node"}).value_or("").contains("node.name = " + quoted(name));
}

std::filesystem::path PrivateAudioServer::newFile(const std::string& ending) {
    return folder() / (std::to_string(++files_) + ending);
}

std::string PrivateAudioServer::newNodeName() {
    return "tarn-test-node-" + std::to_string(++nodes_);
}

std::filesystem::path PrivateAudioServer::toneFile(double frequency, double level, double seconds,
                                                   double rate, unsigned channels) {
    auto file = newFile(".wav");
    writeSound(file, tone(frequency, level, seconds, rate, channels));
    return file;
}

std::filesystem::path PrivateAudioServer::speechFile(const std::string& text) {
    auto file = newFile(".wav");
    if (!answer({"flite", "-voice", "slt", "-t", text, "-o", file})) {
        throw std::runtime_error("private audio server: flite cannot speak");
    }
    return file;
}

}  // namespace tarn::test
