#pragma once

#include <malloc.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "TarnApp/session/TranslateSession.h"
#include "TarnPlatform/base/NetworkThread.h"
#include "TarnPlatform/webserver/HttpServer.h"

namespace tarn::bench {

/// Sound without an audio server: what plays is rendered when the program says so, in its own time.
/// Thread: any.
class QuietSound {
public:
    class Engine;

    std::unique_ptr<AudioEngine> makeEngine();
    /// Every engine that runs plays so many frames of 24 kHz.
    void render(std::size_t frames);

    /// Captured sound goes to the sink of the session, when the program gives it some.
    static Task<Result<std::shared_ptr<CaptureStream>>> startCapture(std::shared_ptr<AudioSink> sink,
                                                                     std::optional<std::string> bundleID);

private:
    std::mutex mutex_;
    std::vector<Engine*> engines_;
};

/// A main thread's loop, worker threads and a network thread, as sessions have them in the program.
class SessionBed {
public:
    SessionBed();
    ~SessionBed();
    SessionBed(const SessionBed&) = delete;
    SessionBed& operator=(const SessionBed&) = delete;

    /// Over `sound`, or, with none, over the desktop's.
    SessionServices services(QuietSound* sound);
    std::shared_ptr<TranslateSession> makeSession(const std::string& storageNamespace,
                                                  const SessionServices& services);

    /// Runs the main thread's loop until it is so; throws after `limit`.
    void until(const std::string& what, const std::function<bool()>& isSo,
               std::chrono::seconds limit = std::chrono::seconds(60));
    void runFor(std::chrono::nanoseconds time);

    asio::io_context main;

private:
    asio::thread_pool workers_{4};
    std::filesystem::path folder_;
    std::shared_ptr<UserDefaults> defaults_;
};

/// Bytes that the program holds in the heap.
inline std::size_t heapInUse() {
    return ::mallinfo2().uordblks + ::mallinfo2().hblkhd;
}

inline std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count;
}

/// A server that answers sessions' streams with the events of `handler`, on a network thread of its own.
class EventServer {
public:
    using Handler = std::function<Task<void>(std::shared_ptr<ServerWebSocket>)>;

    explicit EventServer(Handler handler);
    ~EventServer();
    EventServer(const EventServer&) = delete;
    EventServer& operator=(const EventServer&) = delete;

    /// Signed in, and connected by the process's own network thread.
    std::shared_ptr<TarnServerClient> client() const;
    SerialExecutor executor() { return network_.executor(); }

private:
    NetworkThread network_;
    const Handler handler_;
    std::unique_ptr<HttpServer> server_;
};

/// A text event of the service.
std::string sourceTextEvent(const std::string& text);

}  // namespace tarn::bench
