#include "DubPace.h"

#include <algorithm>
#include <cmath>

namespace tarn {

double DubPace::stepRt(double waiting, double passed) noexcept {
    if (!std::isnan(waiting)) {
        isBehind_ = waiting > (isBehind_ ? caughtUp : behind);
        const double distance = std::clamp((waiting - caughtUp) / (farBehind - caughtUp), 0.0, 1.0);
        aim_ = isBehind_ ? 1 + (fastest - 1) * distance : 1;
    }
    // Of a number and NaN, fmax gives the number.
    const double change = mostChange * std::fmax(passed, 0.0);
    factor_ = std::clamp(aim_, factor_ - change, factor_ + change);
    return factor_;
}

void DubPace::restRt() noexcept {
    *this = DubPace();
}

}  // namespace tarn
