#include "AudioApps.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "TarnPlatform/base/LocalizedOrder.h"

namespace tarn {

Task<Result<std::vector<AudioCapableApp>>> availableAudioApps(CaptureService& service) {
    const auto content = co_await service.getShareableContent(false, true);
    if (!content) {
        co_return std::unexpected(content.error());
    }
    const LocalizedOrder order;
    const auto isBefore = [&](const AudioCapableApp& first, const AudioCapableApp& second) {
        return order.compareCaseInsensitive(first.name, second.name) < 0;
    };
    std::vector<AudioCapableApp> apps;
    std::unordered_set<std::string> taken;
    for (const auto& application : content->applications) {
        const auto& id = application.bundleIdentifier;
        if (!id.empty() && !application.applicationName.empty() && taken.insert(id).second) {
            const AudioCapableApp app{id, application.applicationName};
            // Behind its equals, which were listed before it.
            apps.insert(std::ranges::upper_bound(apps, app, isBefore), app);
        }
    }
    co_return apps;
}

}  // namespace tarn
