#pragma once

#include <boost/asio/post.hpp>
#include <functional>
#include <memory>
#include <utility>

#include "Asio.h"

namespace tarn {

/// A callback that another thread has called on `executor`. It is never called after this object has been
/// destroyed there, not even by what was posted before. An empty callback is never called.
template <typename... Args>
class PostedCallback {
public:
    using Function = std::function<void(Args...)>;

    PostedCallback(SerialExecutor executor, Function callback)
        : executor_(std::move(executor)), callback_(std::make_shared<Function>(std::move(callback))) {}

    /// Posts a call. Thread: any; the function may outlive this object, and then does nothing.
    Function poster() const {
        return [executor = executor_, weak = std::weak_ptr(callback_)](Args... args) {
            asio::post(executor, [weak, ... args = std::move(args)]() mutable {
                if (const auto callback = weak.lock(); callback && *callback) {
                    (*callback)(std::move(args)...);
                }
            });
        };
    }

private:
    SerialExecutor executor_;
    std::shared_ptr<Function> callback_;
};

}  // namespace tarn
