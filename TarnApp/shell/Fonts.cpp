#include "Fonts.h"

#include <QFont>
#include <QFontInfo>
#include <QGuiApplication>

namespace tarn {

void Fonts::choose() {
    QFont font = QGuiApplication::font();
    // The desktop names its font by a word such as "Sans", which is no family: what it stands for is.
    font.setFamilies({QFontInfo(font).family(), QStringLiteral("Noto Sans CJK SC"),
                      QStringLiteral("WenQuanYi Micro Hei"), QStringLiteral("Noto Color Emoji")});
    QGuiApplication::setFont(font);
}

}  // namespace tarn
