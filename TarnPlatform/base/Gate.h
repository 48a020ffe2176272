#pragma once

#include <boost/asio/steady_timer.hpp>
#include <memory>

#include "Asio.h"

namespace tarn {

/// Closed until it is opened, once; any number wait for that. Copies share one gate.
/// Thread: that of the serial executor it was made with, for all of it.
class Gate {
public:
    explicit Gate(const SerialExecutor& executor)
        : bell_(std::make_shared<asio::steady_timer>(executor, asio::steady_timer::time_point::max())),
          open_(std::make_shared<bool>(false)) {}

    void open() {
        *open_ = true;
        bell_->cancel();
    }
    bool isOpen() const { return *open_; }

    /// Completes when the gate is open. Cancelling the coroutine throws.
    Task<void> passed() const { return wait(bell_, open_); }

private:
    static Task<void> wait(std::shared_ptr<asio::steady_timer> bell, std::shared_ptr<bool> open) {
        while (!*open) {
            co_await bell->async_wait(asValue);
        }
    }

    std::shared_ptr<asio::steady_timer> bell_;
    std::shared_ptr<bool> open_;
};

}  // namespace tarn
