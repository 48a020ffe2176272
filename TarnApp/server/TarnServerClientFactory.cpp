#include "TarnServerClientFactory.h"

#include <utility>

namespace tarn {

std::shared_ptr<TarnServerClient> TarnServerClientFactory::make(const DeploymentValues& deployment,
                                                                PatProvider patProvider) {
    using PlainHttp = RealTarnServerClient::PlainHttp;
    const auto network = Deployment::networkFor(deployment);
    return std::make_shared<RealTarnServerClient>(
        deployment.apiBase, std::move(patProvider), HttpSession::make(network), network,
        deployment.allowPlainHttp ? PlainHttp::anywhere : PlainHttp::onlyLoopback);
}

}  // namespace tarn
