#pragma once

#include <memory>

#include "Asio.h"

namespace tarn {

/// The event loop of Qt as an executor: what is spawned or posted on it runs one piece after the other, in
/// the order it came, on the thread that made this object. Timers work on it as on an `io_context`.
///
/// One turn of the event loop runs what was queued when it began, so that a task that keeps posting starves
/// neither windows nor Qt's own timers. A nested event loop goes on with what its outer one has left. Like
/// `io_context`, `dispatch` runs at once inside such a turn and queues everywhere else. While nothing is
/// queued nothing wakes up.
///
/// Thread: made and destroyed on the thread that has or will have the `QCoreApplication`, and destroyed
/// before that; work that is given before the event loop runs is kept. The executor may be used from any
/// thread and may outlive this object: what is left then, and what comes later, is destroyed and never run.
///
/// Requires: nothing throws out of the work. What does is logged, and the work after it runs.
class MainThread {
public:
    MainThread();
    ~MainThread();
    MainThread(const MainThread&) = delete;
    MainThread& operator=(const MainThread&) = delete;

    SerialExecutor executor() const;

private:
    class Context;
    class Executor;
    class Waker;

    const std::shared_ptr<Context> context_;
    const std::unique_ptr<Waker> waker_;
};

}  // namespace tarn
