#include "GlobalShortcuts.h"

#include <boost/asio/post.hpp>
#include <optional>
#include <thread>
#include <utility>

#include "KeyGrabs.h"
#include "ShortcutPortal.h"
#include "TarnPlatform/bus/SessionBus.h"

namespace tarn {

/// Shared with its thread. All of it is the thread's, but what says otherwise.
class GlobalShortcuts::Listener {
public:
    Listener(SerialExecutor executor, std::vector<Shortcut> shortcuts, Pressed pressed)
        : executor_(std::move(executor)),
          shortcuts_(std::move(shortcuts)),
          pressed_(std::make_shared<Pressed>(std::move(pressed))),
          posted_(pressed_) {}
    ~Listener() { g_main_context_unref(context_); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    static void start(const std::shared_ptr<Listener>& listener) {
        listener->thread_ = std::thread([listener] { listener->run(); });
    }

    /// Thread: the executor's.
    void stop() {
        pressed_.reset();
        g_cancellable_cancel(cancellable_.get());
        g_main_context_wakeup(context_);
        thread_.join();
    }

private:
    void run() {
        g_main_context_push_thread_default(context_);
        grab();
        std::string whyNot;
        const auto bus = connectToSessionBus(cancellable_.get(), whyNot);
        std::optional<ShortcutPortal> portal;
        if (bus) {
            portal.emplace(
                bus.get(), cancellable_.get(), shortcuts_, [this](const std::string& id) { tell(id); },
                [this](bool isBound) { isBound ? grabs_.reset() : grab(); });
        }
        const auto isOver = [this] { return g_cancellable_is_cancelled(cancellable_.get()) != FALSE; };
        while (!isOver() || (portal && portal->isWaiting())) {
            g_main_context_iteration(context_, TRUE);
        }
        portal.reset();
        grabs_.reset();
        while (g_main_context_iteration(context_, FALSE) != FALSE) {
        }
        g_main_context_pop_thread_default(context_);
    }

    void grab() {
        if (!grabs_) {
            grabs_.emplace(context_, shortcuts_, [this](const std::string& id) { tell(id); });
        }
    }

    void tell(const std::string& id) {
        asio::post(executor_, [weak = posted_, id] {
            if (const auto pressed = weak.lock()) {
                (*pressed)(id);
            }
        });
    }

    // Fixed at birth.
    const SerialExecutor executor_;
    const std::vector<Shortcut> shortcuts_;
    GMainContext* const context_ = g_main_context_new();
    const Owned<GCancellable> cancellable_{g_cancellable_new()};

    // The executor's. What is posted holds it weakly.
    std::shared_ptr<Pressed> pressed_;
    std::thread thread_;

    const std::weak_ptr<Pressed> posted_;
    std::optional<KeyGrabs> grabs_;
};

GlobalShortcuts::GlobalShortcuts(SerialExecutor executor, std::vector<Shortcut> shortcuts, Pressed pressed) {
    if (!shortcuts.empty()) {
        listener_ = std::make_shared<Listener>(std::move(executor), std::move(shortcuts), std::move(pressed));
        Listener::start(listener_);
    }
}

GlobalShortcuts::~GlobalShortcuts() {
    if (listener_) {
        listener_->stop();
    }
}

}  // namespace tarn
