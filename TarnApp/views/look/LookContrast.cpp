#include "LookContrast.h"

#include "TarnApp/look/SubtitleLook.h"

namespace tarn {

double LookContrast::of(const QString& color, const QColor& behind) {
    return color.isEmpty() ? 21 : SubtitleLook::contrast(QColor(color), behind);
}

}  // namespace tarn
