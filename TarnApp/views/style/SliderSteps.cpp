#include "SliderSteps.h"

#include <algorithm>
#include <cmath>

namespace tarn {

double nearestStep(double value, double from, double to, double step) {
    constexpr double digits = 1e6;
    const double stepped = step > 0 ? from + std::round((value - from) / step) * step : value;
    return std::round(std::clamp(stepped, from, to) * digits) / digits;
}

}  // namespace tarn
