// What of a text is shown, and what counts as the same sentence.

#include "TarnApp/views/overlay/SubtitleWording.h"

#include <gtest/gtest.h>

#include "TarnApp/views/overlay/FinishedLine.h"
#include "support/views/ViewWorld.h"

namespace tarn {
namespace {

TEST(SubtitleWording, ShowsWhateverComesHarmlessly) {
    const std::pair<QString, QString> rows[] = {
        {"plain <b>text</b> &amp; \\n", "plain <b>text</b> &amp; \\n"},
        {QString("a\x1b[31m\x07\x7f") + QChar(0x85) + QChar(0), "a [31m    "},
        {"one\ntwo" + QString(QChar(0x2029)), QString("one") + QChar(0x2028) + "two" + QChar(0x2028)},
        {QString(QChar(0xfdd0)) + QChar(0xfffc) + QChar(0xfdef), QString(3, QChar(0xfffd))},
        {"مرحبا 中文 🎤", "مرحبا 中文 🎤"},
    };
    for (const auto& [text, shown] : rows) {
        EXPECT_EQ(shownSubtitle(text), shown) << text.toStdString();
    }
}

TEST(SubtitleWording, LeavesOutTheBeginningOfATextWithoutEnd) {
    const auto words = [](int count) { return QString("word ").repeated(count); };
    EXPECT_EQ(leftOut(words(600)), 0);
    int changes = 0;
    qsizetype before = 0;
    for (int count = 601; count <= 2000; ++count) {
        const auto out = leftOut(words(count));
        const auto shown = 5 * count - out;
        EXPECT_LE(shown, 3000);
        EXPECT_GE(shown, 1900);
        EXPECT_EQ(out % 5, 0) << "whole words";
        changes += out != before ? 1 : 0;
        before = out;
    }
    EXPECT_LE(changes, 8) << "it moves seldom";
    const QString unbroken = QString("🎤").repeated(5000);
    EXPECT_EQ(leftOut(unbroken) % 2, 0) << "no half character";
    EXPECT_FALSE(unbroken.mid(leftOut(unbroken)).isEmpty());
}

TEST(SubtitleWording, TellsASentenceThatGrowsFromAnother) {
    struct Row {
        const char* before;
        const char* now;
        bool isAnother;
    };
    const Row rows[] = {
        {"", "Hello", false},
        {"Hello", "Hello world", false},
        {"Hello word", "Hello world, and more", false},
        {"Hello world, and more", "Hello", true},
        {"The meeting begins", "We are late", true},
        {"Something", "", true},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(isAnotherSentence(row.before, row.now), row.isAnother) << row.before << " / " << row.now;
    }
    EXPECT_EQ(commonStart("a🎤", "a🔊"), 1) << "both begin with the same half";
}

TEST(FinishedLine, ComesWithAPauseOrWithTheNextSentence) {
    test::ViewWorld world;
    FinishedLine line;
    line.setProperty("viewModel", QVariant::fromValue(world.vm()));
    line.setSession(world.session(0));
    std::string heard;
    QObject::connect(&line, &FinishedLine::textChanged, [&] { heard += line.text().toStdString() + "|"; });
    world.vm()->startAll();
    world.settle();
    world.translate(0, "The meeting");
    world.pass(1900);
    world.translate(0, "The meeting begins.");
    world.pass(1900);
    EXPECT_EQ(heard, "");
    world.pass(200);
    EXPECT_EQ(heard, "The meeting begins.|");
    world.pass(5000);
    world.translate(0, "We are late.");
    world.translate(0, "So hurry up.");
    EXPECT_EQ(heard, "The meeting begins.|We are late.|");
    world.pass(2100);
    EXPECT_EQ(heard, "The meeting begins.|We are late.|So hurry up.|");
    heard.clear();
    world.setLanguage("en");
    world.translate(0, "Half a sen");
    world.miss(0, 80);
    world.pass(2100);
    EXPECT_EQ(heard, "Half a sen|[1 min 20 s not translated]|");
}

}  // namespace
}  // namespace tarn
