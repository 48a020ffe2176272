#pragma once

#include <memory>

#include "RealTarnServerClient.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnServerClient.h"

namespace tarn {

/// Makes the server client that a deployment asks for, on the process's shared network.
struct TarnServerClientFactory {
    /// The token in the keychain, read anew every time.
    static std::optional<std::string> storedPat();

    static std::shared_ptr<TarnServerClient> make(const DeploymentValues& deployment,
                                                  PatProvider patProvider = storedPat);
};

}  // namespace tarn
