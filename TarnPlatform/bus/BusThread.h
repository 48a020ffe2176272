#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

namespace tarn {

class BusConnection;

/// The one thread and the one connection to a bus that all parts of a program share which serve the desktop
/// there or ask it.
///
/// A part is an object that this thread alone touches, from its making to its end. Its owner is on another
/// thread, posts to it, and ends it through `run`, so that nothing of it is left when the owner is gone.
///
/// Nothing on this thread may wait for another program, since it would hold up the other parts: connecting is
/// asynchronous, and so is every call, which has a limit. A bus that hangs thus costs each part its own limit
/// and the others nothing. When the bus ends, GLib reports to each part that its calls have failed and the
/// names that it watches are gone. Nothing connects again, since a desktop session ends with its bus, and the
/// machine with the system's.
///
/// Ownership: the program makes one before the parts, and destroys it after them. Thread: any.
class BusThread {
public:
    using Work = std::function<void(BusConnection& bus)>;

    enum class Bus : std::uint8_t { session, system };

    /// Starts to connect, and does not wait for that.
    explicit BusThread(Bus bus = Bus::session);
    /// Cancels what is under way, and waits for the thread.
    ~BusThread();
    BusThread(const BusThread&) = delete;
    BusThread& operator=(const BusThread&) = delete;

    /// Has `work` called on the thread, after what was posted before.
    void post(Work work);
    /// The same, and returns when it has been called. Thread: any but this one.
    void run(Work work);

private:
    const std::unique_ptr<BusConnection> bus_;
    std::thread thread_;
};

}  // namespace tarn
