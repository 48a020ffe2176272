#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "TarnPlatform/base/PostedCallback.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

class BusThread;

/// One running program for each user session, found under a name on the session bus, where it can be brought
/// to the front and given addresses (the interface `org.freedesktop.Application`, which the desktop uses
/// too).
///
/// Calls from the bus arrive on the bus's thread, so that a busy program still answers, and are posted to the
/// executor. Nothing of an address is ever logged: it may hold a secret.
class SingleInstance {
public:
    /// Called on the executor, and not after the instance has been destroyed there. Empty ones are left out.
    struct Callbacks {
        std::function<void()> activate;
        std::function<void(std::vector<std::string> urls)> open;
        std::function<void(std::string name)> action;
    };

    static constexpr std::size_t longestUrl = std::size_t{64} * 1024;  ///< bytes
    static constexpr std::size_t mostUrls = 64;                        ///< in one call

    /// Takes the name `applicationID` ("org.example.App") if nobody has it; its object is /org/example/App.
    /// Where there is no bus, or it does not answer, this is the primary and says so in one line.
    /// `bus` must outlive the object. Waits 2 s at most. Thread: that of `executor`, also for the object.
    static std::unique_ptr<SingleInstance> claim(BusThread& bus, const std::string& applicationID,
                                                 const SerialExecutor& executor, Callbacks callbacks);

    /// Gives the name back.
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// Whether this is the one; otherwise another has the name.
    bool isPrimary() const;

    /// Hands the addresses to the primary, which has them when this returns. Fails with `unavailable` where
    /// the primary is gone by now (claim again), `timeout` where it did not answer in 2 s, `invalidInput`
    /// where it refused them. Requires: this is not the primary.
    Result<void> forward(const std::vector<std::string>& urls);
    /// Brings the primary to the front; otherwise as `forward`.
    Result<void> activate();

    /// Gives the name back; what came before that has been posted to the executor when this returns, and what
    /// comes later reaches the next one. Waits 2 s at most.
    void release();

private:
    class Peer;
    SingleInstance(BusThread& bus, std::string applicationID, const SerialExecutor& executor,
                   Callbacks callbacks);
    void claimName();

    BusThread& bus_;
    const std::string name_;
    const PostedCallback<> activate_;
    const PostedCallback<std::vector<std::string>> open_;
    const PostedCallback<std::string> action_;
    bool isPrimary_ = true;
    bool holdsName_ = false;
    std::unique_ptr<Peer> peer_;  ///< on the bus's thread
};

}  // namespace tarn
