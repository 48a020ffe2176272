#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "support/PrivateEnvironment.h"
#include "support/Program.h"
#include "support/SessionProgram.h"

namespace tarn::test {

/// What a private audio server starts with.
struct AudioServerOptions {
    bool sessionManager = true;  ///< WirePlumber: without it there are no ports, no defaults and no links
    bool pulse = true;           ///< pipewire-pulse, for paplay and pactl; only with devices
    bool devices = true;         ///< the test devices; without them there is no sink at all and no source
    bool ownBus = true;          ///< its bus becomes the process's session bus; else only the daemons use it
};

/// A whole audio session of a test's own, without hardware: D-Bus, PipeWire, WirePlumber and pipewire-pulse
/// in a private folder, which is XDG_RUNTIME_DIR of this process as long as the object lives.
///
/// Its devices are `tarn-test-out`, the default output; `tarn-test-mic`, the default microphone; and
/// `tarn-test-mic-feed`, an output whose sound the microphone hears, level unchanged. All are stereo.
///
/// Everything ends with the object; its programs also with this process should it be killed. Made before the
/// test starts threads and destroyed after they ended, since it changes the environment. One at a time. Every
/// method waits until its effect can be seen and throws std::runtime_error when that takes more than 20 s.
/// Not thread-safe.
class PrivateAudioServer {
public:
    static constexpr const char* output = "tarn-test-out";
    static constexpr const char* microphone = "tarn-test-mic";
    static constexpr const char* microphoneFeed = "tarn-test-mic-feed";

    explicit PrivateAudioServer(const AudioServerOptions& options = {});
    ~PrivateAudioServer() = default;
    PrivateAudioServer(const PrivateAudioServer&) = delete;
    PrivateAudioServer& operator=(const PrivateAudioServer&) = delete;

    void killPipeWire();  ///< SIGKILL; what hung on it notices by itself
    /// Starts it after `killPipeWire`, and WirePlumber and pipewire-pulse with it, as on a desktop; devices
    /// that were added are gone.
    void startPipeWire();
    void pausePipeWire();   ///< it keeps its connections and does nothing (SIGSTOP)
    void resumePipeWire();  ///< it works on (SIGCONT)
    void stopWirePlumber();
    void startWirePlumber();
    /// One that ends with the returned program. Not all links come back while something plays.
    SessionProgram runWirePlumber();

    /// Adds an output or a microphone; `channelMap` is like "FL,FR". The microphone hears what is linked to
    /// its input ports (`NAME:input_FL`; of one channel: "MONO").
    void addSink(const std::string& name, const std::string& channelMap);
    void addSource(const std::string& name, const std::string& channelMap);
    /// Adds an output without a device, as filters and echo cancellers are: what is played to it is played on
    /// to `output` by a stream. Ends with the returned program.
    SessionProgram addVirtualOutput(const std::string& name);
    void removeSink(const std::string& name) { remove(name); }
    void removeSource(const std::string& name) { remove(name); }
    /// As if the user chose it in the desktop's settings.
    void setDefaultSink(const std::string& name) { setDefault("sink", name); }
    void setDefaultSource(const std::string& name) { setDefault("source", name); }

    /// Starts a client (pw-cat, pw-link, pactl, ...) in this session.
    SessionProgram run(const std::vector<std::string>& command);
    /// What a client printed; nothing where it failed or took more than 5 s.
    std::optional<std::string> answer(const std::vector<std::string>& command);
    /// Whether the graph has a node of this name.
    bool hasNode(const std::string& name);

    /// A WAV file with a sine in every channel; `level` in dBFS of its peak.
    std::filesystem::path toneFile(double frequency, double level, double seconds, double rate = 48000,
                                   unsigned channels = 2);
    /// A WAV file in which flite's clear voice speaks English.
    std::filesystem::path speechFile(const std::string& text);
    /// A path that no other file of the session has.
    std::filesystem::path newFile(const std::string& ending);
    /// A name that no other node of the session has.
    std::string newNodeName();

    std::filesystem::path folder() const { return folder_.path(); }  ///< removed at the end

private:
    SessionProgram startDaemon(const std::vector<std::string>& command);
    void writeConfiguration() const;
    void startBus();
    void startSession();
    void waitForSession();
    bool hasDefault(const std::string& kind, const std::string& name = {});
    void addNode(const std::string& name, const std::string& channelMap, const std::string& mediaClass);
    void remove(const std::string& name);
    void setDefault(const std::string& kind, const std::string& name);

    const AudioServerOptions options_;
    PrivateEnvironment environment_;
    const TemporaryFolder folder_;
    int files_ = 0;
    int nodes_ = 0;
    // In the order of their start: the last one ends first.
    std::optional<SessionProgram> bus_;
    std::optional<SessionProgram> pipeWire_;
    std::optional<SessionProgram> wirePlumber_;
    std::optional<SessionProgram> pulse_;
};

}  // namespace tarn::test
