#pragma once

#include <memory>

#include "RealTarnServerClient.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnServerClient.h"

namespace tarn {

/// Makes the server client that a deployment asks for, on the process's shared network.
struct TarnServerClientFactory {
    static std::shared_ptr<TarnServerClient> make(const DeploymentValues& deployment,
                                                  PatProvider patProvider);
};

}  // namespace tarn
