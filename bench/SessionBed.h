#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "TarnApp/session/TranslateSession.h"

namespace tarn::bench {

/// A main thread's loop, worker threads and a network thread, as sessions have them in the program.
class SessionBed {
public:
    SessionBed();
    ~SessionBed();
    SessionBed(const SessionBed&) = delete;
    SessionBed& operator=(const SessionBed&) = delete;

    /// Over the desktop's sound.
    SessionServices services();
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

}  // namespace tarn::bench
