#include "Fonts.h"

#include <QFont>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QGuiApplication>

namespace tarn {

void Fonts::choose() {
    QFont font = QGuiApplication::font();
    // The desktop names its font by an alias such as "Sans"; Qt needs the family that it stands for.
    font.setFamilies({QFontInfo(font).family(), QStringLiteral("Noto Sans CJK SC"),
                      QStringLiteral("WenQuanYi Micro Hei"), QStringLiteral("Noto Color Emoji")});
    QGuiApplication::setFont(font);
}

void Fonts::warmUp() {
    struct Text {
        int pixels;
        QFont::Weight weight;
        const char* letters;
    };
    for (const Text& text :
         {Text{12, QFont::Normal, "So"}, Text{12, QFont::DemiBold, "So"}, Text{13, QFont::Normal, "Aa中→"},
          Text{13, QFont::DemiBold, "Aa"}, Text{16, QFont::Normal, "Aa"}, Text{18, QFont::Medium, "Aa"}}) {
        QFont font = QGuiApplication::font();
        font.setPixelSize(text.pixels);
        font.setWeight(text.weight);
        QFontMetricsF(font).horizontalAdvance(QString::fromUtf8(text.letters));
    }
}

}  // namespace tarn
