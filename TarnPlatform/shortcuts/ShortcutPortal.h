#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "GlobalShortcuts.h"
#include "TarnPlatform/bus/BusConnection.h"
#include "TarnPlatform/bus/PortalRequest.h"

namespace tarn {

/// Shortcuts that the desktop's portal binds, each time that the portal starts. The portal may ask the user
/// first, which takes as long as it takes.
/// Thread: the bus's.
class ShortcutPortal {
public:
    /// What is given must outlive this. `pressed` and `bound` are called when a shortcut is pressed, and when
    /// the portal has bound them or does so no longer.
    ShortcutPortal(BusConnection& bus, const std::vector<Shortcut>& shortcuts,
                   std::function<void(const std::string& id)> pressed, std::function<void(bool)> bound);
    ~ShortcutPortal();
    ShortcutPortal(const ShortcutPortal&) = delete;
    ShortcutPortal& operator=(const ShortcutPortal&) = delete;

private:
    using Answered = void (ShortcutPortal::*)(GVariant* results);

    void watch();
    void appeared();
    void vanished();
    void createSession();
    void bindShortcuts(GVariant* results);
    void haveBound(GVariant* results);
    void request(const char* method, GVariant* arguments, const std::string& token, Answered answered);
    void setBound(bool isBound);
    void closeSession();
    std::string newToken();

    BusConnection& bus_;
    const std::vector<Shortcut>& shortcuts_;
    const std::function<void(const std::string&)> pressed_;
    const std::function<void(bool)> bound_;
    const BusConnection::Lifeline lifeline_ = BusConnection::newLifeline();
    BusConnection::Lifeline portalsLife_;  ///< answers to an earlier life of the portal do not count
    std::vector<BusConnection::Held> held_;
    std::unique_ptr<PortalRequest> request_;  ///< the last one
    std::string session_;
    bool isBound_ = false;
    unsigned tokens_ = 0;
};

}  // namespace tarn
