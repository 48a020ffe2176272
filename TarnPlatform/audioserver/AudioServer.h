#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "Graph.h"
#include "TarnPlatform/base/Result.h"

struct pw_core;
struct pw_loop;

namespace tarn {

/// What follows the audio server. Thread: the server's loop, which is held meanwhile: no waiting in here.
class AudioServerObserver {
public:
    /// A connection stands; nothing is known of the graph yet. Also the first time.
    virtual void connected() {}
    /// The connection broke: every object of it is gone, its streams too. It comes back by itself.
    virtual void disconnected() {}
    /// Something of the graph came, went or was told anew.
    virtual void graphChanged(const Graph&) {}

protected:
    ~AudioServerObserver() = default;
};

/// One connection to the desktop's audio server, and what it says is there.
///
/// Threads: a loop of its own that every call into the server's library is made with (`Lock`), and the
/// library's one real-time thread, on which all streams of this connection run. A connection that breaks is
/// tried again every 0.5 s while there is an observer; without one only when somebody asks.
class AudioServer {
public:
    AudioServer();
    /// Requires: no observer and no stream is left.
    ~AudioServer();
    AudioServer(const AudioServer&) = delete;
    AudioServer& operator=(const AudioServer&) = delete;

    /// The process's own, made on first use and kept until the process ends.
    static AudioServer& shared();

    /// Holds the loop. Recursive. Thread: any but a real-time one.
    class Lock {
    public:
        explicit Lock(AudioServer& server);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        AudioServer& server_;
    };

    /// How long the server may take to answer before a caller is told so.
    static constexpr std::chrono::milliseconds answerLimit{2000};

    /// Connects where there is no connection, which takes no time worth waiting for. Fails when there is no
    /// server. Thread: any but the loop.
    Result<void> reach();

    /// Reads the graph afresh, connecting first where there is no connection. Fails when there is no server
    /// or it does not answer. Blocks for `answerLimit` at most. Thread: any but the loop.
    Result<Graph> snapshot();

    /// Begins to follow the server: connects, and calls `observer` from now on until it is removed. The
    /// observer is told at once of a connection that stands already. Fails, without following, when there is
    /// no server. Thread: any; on return from `removeObserver` no call is under way.
    Result<void> addObserver(AudioServerObserver& observer);
    void removeObserver(AudioServerObserver& observer);

    /// Blocks, with the loop given free meanwhile, until `done` holds or the time is over; whether it holds.
    /// `done` is asked whenever the loop was woken. Requires: a Lock held once. Thread: any but the loop.
    bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = answerLimit);
    /// Wakes those who wait. Requires: a Lock.
    void wake();

    /// Calls `task` on the loop, held, again and again, first after one `interval`, until the returned object
    /// ends, which `task` itself may bring about. Requires: a Lock, also where the object ends.
    class Timer;
    std::unique_ptr<Timer> startTimer(std::chrono::milliseconds interval, std::function<void()> task);

    /// Calls `task` on the loop, held, soon after the returned object was rung; rings that come close
    /// together share a call. Requires: a Lock, also where the object ends.
    class Bell;
    std::unique_ptr<Bell> makeBell(std::function<void()> task);

    /// As known now. Requires: a Lock; valid while it is held.
    const Graph& graph() const;
    /// The connection, or null while there is none. Requires: a Lock; valid while it is held.
    pw_core* core() const;

    /// Asks a node's adapter to apply `factor` times its volumes in their place, which stay as they are for
    /// everybody who reads them. A change of the volumes undoes it. Observers are told that it was asked.
    /// Requires: a Lock.
    void setVolumeFactor(GraphId node, float factor);

    /// Marks every stream of this process: the property `instanceKey` of all of them has this value, so that
    /// captures of any connection know them.
    static const std::string& instanceTag();
    static constexpr const char* instanceKey = "tarn.instance";

    /// Whether the node is a stream of this process, made by us or by a library.
    static bool isOwn(const Graph& graph, const GraphNode& node);

private:
    struct Connection;
    struct Loop;

    // Each requires a Lock.
    Result<void> connect();
    void lost();
    void dropBrokenConnection();
    void tryAgain();
    Result<void> roundTrip(std::chrono::steady_clock::time_point deadline);
    void changed();
    void forEachObserver(const std::function<void(AudioServerObserver&)>& tell);

    std::unique_ptr<Loop> loop_;
    std::unique_ptr<Connection> connection_;  // absent while there is none
    std::uint64_t connections_ = 0;           // how many there have been
    std::vector<AudioServerObserver*> observers_;
    std::unique_ptr<Timer> retry_;
    const Graph none_;
};

class AudioServer::Timer {
public:
    virtual ~Timer() = default;
};

class AudioServer::Bell {
public:
    virtual ~Bell() = default;
    /// Thread: any, real-time ones included.
    virtual void ringRt() noexcept = 0;
};

}  // namespace tarn
