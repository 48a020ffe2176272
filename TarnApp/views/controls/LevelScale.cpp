#include "LevelScale.h"

#include <algorithm>
#include <cmath>

namespace tarn {

double LevelScale::fraction(float level) {
    constexpr float least = 0.0001F;
    if (!(level >= least)) {  // written so that NaN counts as silence
        return 0;
    }
    return level > 1 ? 1.0 : std::clamp((static_cast<double>(std::log10(level)) + 4) * 0.25, 0.0, 1.0);
}

QString LevelScale::light(float level) {
    const double filled = fraction(level);
    return filled >= 0.85  ? QStringLiteral("red")
           : filled >= 0.6 ? QStringLiteral("yellow")
                           : QStringLiteral("green");
}

}  // namespace tarn
