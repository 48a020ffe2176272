#pragma once

#include "Stage.h"
#include "TarnApp/views/model/ViewTypes.h"

namespace tarn::test {

/// Pictures of the look of subtitles and of reading mode: look-NAME-STYLE.png, reading-NUMBER-STYLE.png;
/// and of where else subtitles are: elsewhere-STYLE.png.
class LookPictures : public Stage {
public:
    LookPictures(QString folder, Style style) : Stage(std::move(style)), folder_(std::move(folder)) {}

    void takeAll() {
        vm().startAll();
        speak(0, "Good morning, everybody. Shall we begin with the second chapter?",
              "早上好，各位。我们从第二章开始，好吗？");
        window().setGeometry(onScreen({820, 560, 640, 260}));
        app_->perform("look");
        QQuickWindow* const look = windowNamed("tarn-look");
        if (look == nullptr) {
            std::printf("there is no look window\n");
            return;
        }
        look->setFramePosition({60, 40});
        picture("look-usual", *look);
        SubtitleLook& chosen = *Look::chosen;
        chosen.setFontFamily("DejaVu Serif");
        chosen.setTranslationColor("#ffe066");
        chosen.setOriginalColor("#7fe3ff");
        chosen.setAlignment("center");
        chosen.setOriginal("below");
        picture("look-chosen", *look);
        picture("look-overlay", window());
        chosen.setTranslationColor("#ffffff");
        chosen.setBackgroundOpacity(30);
        leave();
        picture("look-faint", window());
        chosen.reset();
        look->close();
        app_->perform("elsewhere");
        QQuickWindow* const elsewhere = windowNamed("tarn-elsewhere");
        elsewhere->setFramePosition({60, 40});
        picture("elsewhere", *elsewhere);
        elsewhere->close();
        read();
    }

private:
    void read() {
        Look::chosen->setReadingMode(true);
        constexpr const char* before[] = {"Buenos días a todos, gracias por venir.",
                                          "Hoy hablaremos del segundo capítulo y de lo que falta."};
        for (const char* const text : before) {
            world_.translate(0, text, true);
            pump(50);
        }
        constexpr const char* steps[] = {
            "El presupuesto", "El presupuesto de viaje ha crecido",
            "El presupuesto de viajes ha crecido un tercio",
            "El presupuesto de viajes ha crecido un tercio este año y nadie me ha dicho",
            "El presupuesto de viajes ha crecido un tercio este año, y nadie me ha dicho por qué."};
        int number = 0;
        for (const char* const text : steps) {
            const bool isLast = ++number == std::ssize(steps);
            // Words settle as the same is told again.
            for (int again = 0; again < 4; ++again) {
                world_.translate(0, text, isLast && again == 3);
                world_.pass(100);
            }
            picture(QString("reading-%1").arg(number), window());
        }
    }

    void leave() {
        const auto* const content = window().property("content").value<QObject*>();
        QMetaObject::invokeMethod(content->property("contentState").value<QObject*>(), "pointerLeft");
        world_.pass(4000);
    }

    void picture(const QString& name, const QQuickWindow& of) {
        pump(600);
        grab().copy(of.frameGeometry()).save(folder_ + "/" + name + "-" + style_.name() + ".png");
    }

    const QString folder_;
};

}  // namespace tarn::test
