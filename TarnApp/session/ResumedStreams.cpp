#include "ResumedStreams.h"

#include <boost/asio/strand.hpp>
#include <utility>

#include "TarnApp/server/ResumingServerClient.h"
#include "TarnApp/server/StandIn.h"
#include "TarnPlatform/desktop/NetworkReturn.h"
#include "TarnPlatform/desktop/SchemeRegistration.h"

namespace tarn {
namespace {

/// One for the process; never destroyed, since a stream that is still open at the exit holds a listener.
NetworkReturn& networkReturn() {
    static auto* const watch = new NetworkReturn;
    return *watch;
}

}  // namespace

std::shared_ptr<TarnServerClient> withResumedStreams(std::shared_ptr<TarnServerClient> client,
                                                     const DeploymentValues& deployment,
                                                     AskConnectionWishes wishes, SerialExecutor worker) {
    const auto network = NetworkContext::shared();
    ResumingServerClient::Options options;
    options.wishes = std::move(wishes);
    const auto program = SchemeRegistration::runningProgram().value_or("/usr/bin/tarn");
    if (const auto standIn = StandIn::ofThisMachine(deployment.apiBase, asio::make_strand(worker), program)) {
        options.findStandIn = [standIn](std::optional<std::string> source, std::string target) {
            return standIn->find(source.value_or(""), std::move(target));
        };
    }
    options.watchNetwork = [](SerialExecutor executor, std::function<void()> isBack) {
        return networkReturn().listen(std::move(executor), std::move(isBack));
    };
    options.network = network.executor;
    options.clock = network.clock;
    return std::make_shared<ResumingServerClient>(std::move(client), std::move(options));
}

}  // namespace tarn
