#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <thread>

#include "Asio.h"

namespace tarn {

/// One `io_context` on one thread: where every socket of the process lives.
class NetworkThread {
public:
    NetworkThread();
    /// Drops what is still pending and joins the thread.
    ~NetworkThread();
    NetworkThread(const NetworkThread&) = delete;
    NetworkThread& operator=(const NetworkThread&) = delete;

    asio::io_context& context() { return context_; }
    SerialExecutor executor() { return context_.get_executor(); }

    /// The process's own, started on first use and kept until the process ends. An executor that network
    /// operations resume on must outlive it: made before this is first called, and static.
    static NetworkThread& shared();

private:
    asio::io_context context_{1};
    asio::executor_work_guard<asio::io_context::executor_type> work_;
    std::thread thread_;
};

}  // namespace tarn
