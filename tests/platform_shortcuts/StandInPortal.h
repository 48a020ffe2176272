#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "TarnPlatform/bus/Glib.h"

namespace tarn::test {

/// Plays the desktop's portal on the session bus, as far as global shortcuts go: no compositor that could be
/// the real one runs in tests.
class StandInPortal {
public:
    enum class User { agrees, refuses };
    enum class Kind { whole, withoutShortcuts };

    explicit StandInPortal(User user, Kind kind = Kind::whole);
    ~StandInPortal();
    StandInPortal(const StandInPortal&) = delete;
    StandInPortal& operator=(const StandInPortal&) = delete;

    /// As if the key was pressed. `session`: empty for the one that was asked for.
    void activate(const std::string& id, std::string session = {});
    void closeSession();
    int timesBound() const { return bound_; }
    std::string asked() const;  ///< what was to be bound, printed

private:
    void run(std::atomic<bool>& isReady);
    void answer(const std::string& method, GVariant* arguments, GDBusMethodInvocation* call);

    const User user_;
    const Kind kind_;
    GMainContext* const context_ = g_main_context_new();
    GMainLoop* const loop_ = g_main_loop_new(context_, FALSE);
    Owned<GDBusConnection> bus_;
    std::atomic<int> bound_ = 0;
    mutable std::mutex mutex_;
    std::string session_;
    std::string asked_;
    std::thread thread_;
};

}  // namespace tarn::test
