#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "BusStandIn.h"
#include "support/PrivateEnvironment.h"
#include "support/Program.h"

namespace tarn::test {

/// A session bus of a test's own with a real gnome-keyring on it, or none. It becomes the session bus of this
/// process for as long as it lives; then the old environment is back and nothing is left running.
/// Throws std::runtime_error when it cannot be set up. One at a time.
class PrivateKeyring {
public:
    enum class Mode {
        unlocked,     ///< the default collection is open
        locked,       ///< it is closed, and nobody is there to answer a prompt
        activatable,  ///< nothing runs; the bus can start a keyring, which then has no collection yet
        absent,       ///< the bus knows no keyring
        noBus,        ///< there is no session bus
    };

    explicit PrivateKeyring(Mode mode);
    ~PrivateKeyring() = default;
    PrivateKeyring(const PrivateKeyring&) = delete;
    PrivateKeyring& operator=(const PrivateKeyring&) = delete;

    void hang();        ///< the keyring keeps its name and does nothing (SIGSTOP)
    void goOn();        ///< it works on (SIGCONT)
    void killDaemon();  ///< it is gone, and nobody starts another
    void killBus();     ///< the bus is gone, and the keyring with its name
    void lock();        ///< closes the default collection
    /// As another program stores one: in the collection of that alias, under a schema of its name.
    static void addItem(const std::string& collection, const std::string& schema,
                        const std::map<std::string, std::string>& attributes, const std::string& secret);
    bool isRunning() const;
    std::filesystem::path folder() const {
        return folder_.path();
    }  ///< private to this keyring, removed at the end

private:
    void startBus(bool canStartKeyring);
    void startDaemon();

    const TemporaryFolder folder_;
    PrivateEnvironment environment_;
    std::optional<Program> bus_;
    std::optional<Program> daemon_;
};

/// Stands where the desktop's password prompt stands on the private bus: it comes up when the keyring asks
/// and waits until the test dismisses it.
class PromptOnScreen {
public:
    PromptOnScreen();
    ~PromptOnScreen() = default;
    PromptOnScreen(const PromptOnScreen&) = delete;
    PromptOnScreen& operator=(const PromptOnScreen&) = delete;

    void waitUntilUp();  ///< until the keyring has asked; throws after 20 s
    void dismiss();      ///< as if the user pressed Cancel
    int timesAsked() const;

private:
    mutable std::mutex mutex_;
    int timesAsked_ = 0;
    std::string sender_;
    std::string callback_;
    BusStandIn prompter_;
};

}  // namespace tarn::test
