#pragma once

#include <QClipboard>
#include <chrono>
#include <string>

#include "Stage.h"
#include "TarnApp/views/record/RecordWindowState.h"

namespace tarn::test {

/// Pictures of the record's window: record-NAME-STYLE.png each.
class RecordPictures : public Stage {
public:
    RecordPictures(QString folder, Style style) : Stage(std::move(style)), folder_(std::move(folder)) {}

    void takeAll() {
        app_->perform("record");
        record_ = windowNamed("tarn-record");
        if (record_ == nullptr) {
            std::printf("there is no record window\n");
            return;
        }
        record_->setFramePosition({20, 40});
        window().setGeometry(onScreen({820, 600, 640, 220}));
        picture("empty");
        meet();
        picture("meeting");
        auto& state = *record_->property("record").value<RecordWindowState*>();
        state.rows()->setSearch(style_.language == "en" ? "budget" : "预算");
        picture("search");
        state.rows()->setSearch({});
        press("keeping");
        picture("keeping");
        press("keeping");
        press("save");
        picture("saving");
        press("save");
        state.selection()->choose(state.rows()->count() - 3, Qt::NoModifier);
        state.selection()->choose(state.rows()->count() - 2, Qt::ShiftModifier);
        state.saving()->tell(shown(AddedText::recordSaved, {"/home/ada/Documents/Tarn.srt"}), false);
        picture("chosen");
        record_->close();
    }

private:
    struct Line {
        int source;
        const char* said;
        const char* translation;
    };

    void meet() {
        constexpr Line lines[] = {
            {0, "Good morning, everybody. Shall we begin with the budget for next year?",
             "早上好，各位。我们从明年的预算开始，好吗？"},
            {1, "是的，我把数字发给大家了。", "Yes, I have sent the figures to everybody."},
            {2, "Creo que falta el coste de los viajes a Barcelona en marzo.",
             "I think the cost of the trips to Barcelona in March is missing."},
            {0, "", ""},
            {0,
             "Thank you. Then let us look at the second page: the budget for travel has grown by a third, "
             "and "
             "nobody has told me why that is so.",
             "谢谢。那我们看第二页：差旅预算增加了三分之一，但没有人告诉我原因。"},
            {2, "صباح الخير، هل تسمعونني الآن؟", "Good morning, can you hear me now?"},
            {1, "可以，请讲。", "We can, please go on."},
        };
        const char* const names[] = {"Zoom", "Headset", "Firefox"};
        auto time = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now()) -
                    std::chrono::minutes(12);
        for (int round = 0; round < 4; ++round) {
            for (const Line& line : lines) {
                Utterance utterance;
                utterance.source = line.source;
                utterance.sourceName = names[line.source];
                utterance.saidAt = time += std::chrono::seconds(7);
                utterance.text = line.said;
                utterance.translation = line.translation;
                if (utterance.text.empty()) {
                    utterance.kind = Utterance::Kind::untranslated;
                    utterance.seconds = 80;
                }
                vm().record()->add(utterance);
            }
        }
    }

    void press(const char* name) {
        for (QQuickItem* const item : itemsOf(*record_)) {
            if (item->objectName() == name) {
                QTest::mouseClick(record_, Qt::LeftButton, {},
                                  item->mapToScene(item->boundingRect().center()).toPoint());
            }
        }
        pump(300);
    }

    void picture(const QString& name) {
        pump(600);
        const QRect frame = record_->frameGeometry();
        grab().copy(frame).save(folder_ + "/record-" + name + "-" + style_.name() + ".png");
    }

    const QString folder_;
    QQuickWindow* record_ = nullptr;
};

}  // namespace tarn::test
