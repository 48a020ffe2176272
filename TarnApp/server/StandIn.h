#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/net/HttpSession.h"
#include "TarnPlatform/net/NetworkContext.h"
#include "TarnPlatform/net/Url.h"
#include "TarnServerClient.h"

namespace tarn {

/// The relay of this machine, which can translate while the service is away. It is used only where it listens
/// on the loopback address for this user or for root, and not where it would itself need the service.
///
/// Its access token is asked for from its own program, run as this user, when it is first needed, and is kept
/// in memory only. Thread: any. Ownership: one for the program.
class StandIn : public std::enable_shared_from_this<StandIn> {
public:
    struct Parts {
        Url api;                 ///< root of its API, on a loopback address
        SerialExecutor worker;   ///< where running the relay's program may block, for 5 s at most
        NetworkContext network;  ///< who listens may be used by its `mayUse`
        std::function<std::optional<std::string>()> issueToken;  ///< called on `worker`
    };
    explicit StandIn(Parts parts);

    /// The relay at its usual address. Null where that is the account server already: nothing could stand in
    /// for it. `program`: of this process, beside which the relay's is looked for first.
    static std::shared_ptr<StandIn> ofThisMachine(const Url& accountServer, SerialExecutor worker,
                                                  const std::filesystem::path& program);

    /// A client of the relay, where it answers and can translate `source` ("": detect) into `target`; null
    /// otherwise. Takes 10 s at most.
    Task<std::shared_ptr<TarnServerClient>> find(std::string source, std::string target);

private:
    static Task<std::shared_ptr<TarnServerClient>> findOnWorker(std::shared_ptr<StandIn> self,
                                                                std::string source, std::string target);
    Task<bool> canTranslate(std::string source, std::string target) const;
    Task<int> statusWithToken() const;  ///< 0: it does not answer
    Task<std::optional<HttpResponse>> get(Url url, std::vector<HttpHeader> headers) const;

    const Parts parts_;
    const std::shared_ptr<HttpSession> session_;
    // The worker's.
    std::optional<std::string> token_;
    bool isStrange_ = false;  ///< it takes no token of its program's
};

/// Runs "PROGRAM issue-token" for an address of the stand-in's own, for 5 s at most. Nothing where that gives
/// no token. Thread: any; blocks meanwhile.
std::optional<std::string> tokenOfRelayProgram(const std::string& program);

}  // namespace tarn
