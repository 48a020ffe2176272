#pragma once

#include <functional>
#include <string>
#include <vector>

#include "GlobalShortcuts.h"
#include "TarnPlatform/bus/Glib.h"

namespace tarn {

/// Shortcuts that the desktop's portal binds, each time that it starts. Its user may be asked, and take long.
/// Thread: the one that runs the default context at the time of making.
class ShortcutPortal {
public:
    /// What is given must outlive this. `pressed` and `bound` are called when a shortcut is pressed, and when
    /// the portal has bound them or does so no longer.
    ShortcutPortal(GDBusConnection* bus, GCancellable* cancellable, const std::vector<Shortcut>& shortcuts,
                   std::function<void(const std::string& id)> pressed, std::function<void(bool)> bound);
    ~ShortcutPortal();
    ShortcutPortal(const ShortcutPortal&) = delete;
    ShortcutPortal& operator=(const ShortcutPortal&) = delete;

    /// Whether a call is not answered yet. Requires: cancelled, and not waiting, before the destruction.
    bool isWaiting() const { return calls_ > 0; }

private:
    using Answered = void (ShortcutPortal::*)(GVariant* results);

    void appeared();
    void vanished();
    void createSession();
    void bindShortcuts(GVariant* results);
    void haveBound(GVariant* results);
    void request(const char* method, GVariant* arguments, const std::string& token, Answered answered);
    void listen(const std::string& request);
    void dropRequest();
    void respond(GVariant* arguments);
    void setBound(bool isBound);
    void closeSession();
    std::string newToken();

    GDBusConnection* const bus_;
    GCancellable* const cancellable_;
    const std::vector<Shortcut>& shortcuts_;
    const std::function<void(const std::string&)> pressed_;
    const std::function<void(bool)> bound_;
    guint watch_ = 0;
    guint activated_ = 0;
    guint closed_ = 0;
    guint response_ = 0;
    Answered answered_ = nullptr;
    std::string session_;
    bool isBound_ = false;
    int calls_ = 0;
    unsigned life_ = 0;  ///< of the portal: answers to an earlier one do not count
    unsigned tokens_ = 0;
};

}  // namespace tarn
