#include "ResumedStreams.h"

#include <utility>

#include "TarnPlatform/desktop/NetworkReturn.h"
#include "TarnPlatform/net/NetworkContext.h"

namespace tarn {
namespace {

/// One for the process; never destroyed, since a stream that is still open at the exit holds a listener.
NetworkReturn& networkReturn() {
    static auto* const watch = new NetworkReturn;
    return *watch;
}

}  // namespace

std::shared_ptr<TarnServerClient> withResumedStreams(std::shared_ptr<TarnServerClient> client,
                                                     ResumeWishes wishes) {
    const auto network = NetworkContext::shared();
    ResumingServerClient::Options options;
    options.resumes = std::move(wishes.resumes);
    options.standsIn = std::move(wishes.standsIn);
    options.findStandIn = std::move(wishes.findStandIn);
    options.giveUpAfter = wishes.giveUpAfter;
    options.watchNetwork = [](SerialExecutor executor, std::function<void()> isBack) {
        return networkReturn().listen(std::move(executor), std::move(isBack));
    };
    options.network = network.executor;
    options.clock = network.clock;
    return std::make_shared<ResumingServerClient>(std::move(client), std::move(options));
}

}  // namespace tarn
