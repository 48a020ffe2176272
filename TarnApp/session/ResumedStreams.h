#pragma once

#include <memory>

#include "TarnApp/server/ConnectionWishes.h"
#include "TarnApp/server/TarnServerClient.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnPlatform/base/Asio.h"

namespace tarn {

/// `client`, a client of `deployment`'s account server, whose streams outlive their connections as `wishes`
/// say, with the process's network and clock, and with the relay of this machine as what may stand in.
/// `worker`: where looking for that relay may block. Thread: main.
std::shared_ptr<TarnServerClient> withResumedStreams(std::shared_ptr<TarnServerClient> client,
                                                     const DeploymentValues& deployment,
                                                     AskConnectionWishes wishes, SerialExecutor worker);

}  // namespace tarn
