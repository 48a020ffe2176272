#include "AppLinks.h"

#include "TarnPlatform/desktop/SchemeRegistration.h"

namespace tarn {

Result<void> registerLinks(const std::filesystem::path& program) {
    const SchemeRegistration registration{"tarn", "com.ostrel.tarn-links.desktop", "Tarn", program};
    const auto outcome = registration.ensure();
    return outcome ? Result<void>() : std::unexpected(outcome.error());
}

}  // namespace tarn
