#include "ConnectionWishes.h"

#include "TarnPlatform/settings/UserDefaults.h"

namespace tarn {

ConnectionWishes ConnectionWishes::in(const UserDefaults& settings) {
    ConnectionWishes wishes;
    wishes.resumes = settings.boolean(resumesKey).value_or(wishes.resumes);
    wishes.usesStandIn = settings.boolean(usesStandInKey).value_or(wishes.usesStandIn);
    return wishes;
}

}  // namespace tarn
