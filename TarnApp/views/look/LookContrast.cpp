#include "LookContrast.h"

#include <algorithm>

namespace tarn {

double LookContrast::least(const SubtitleLook* look, const QColor& panel) {
    const QColor behind = look->backgroundOpacity() < leastBackground ? QColor(Qt::black) : panel;
    double least = 21;
    const auto weigh = [&](const QString& color) {
        if (!color.isEmpty()) {
            least = std::min(least, SubtitleLook::contrast(QColor(color), behind));
        }
    };
    weigh(look->translationColor());
    if (look->original() != QLatin1String("hidden")) {
        weigh(look->originalColor());
    }
    return least;
}

}  // namespace tarn
