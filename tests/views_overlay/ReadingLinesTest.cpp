// Reading mode as it is drawn, in the real fonts of several scripts.
#include "TarnApp/views/overlay/ReadingLines.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <cstdlib>
#include <map>
#include <random>

#include "support/Partials.h"
#include "support/views/ViewWorld.h"

namespace tarn::test {
namespace {

QGuiApplication& application() {
    static int count = 3;
    static std::string words[] = {"views_overlay_tests", "-platform", "offscreen"};
    static char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
    // Never destroyed: what it calls then is gone by the end of the process.
    static auto* const made = new QGuiApplication(count, arguments);
    return *made;
}

/// Counts settled characters that changed, went away or were drawn at another place while their line was
/// there.
class DrawnMoves {
public:
    void look(const ReadingLines& lines) {
        std::map<std::pair<std::uint64_t, qsizetype>, ReadingLines::Place> now;
        for (const auto& place : lines.places()) {
            now.emplace(std::pair(place.line, place.at), place);
        }
        for (const auto& [where, before] : seen_) {
            if (where.first < lines.firstLine()) {
                continue;
            }
            const auto found = now.find(where);
            const bool stands = found != now.end() && found->second.character == before.character &&
                                std::abs(found->second.x - before.x) < 0.01;
            moves_ += stands ? 0 : 1;
            if (!stands && first_.isEmpty()) {
                first_ = lines.text() + "\n" + QString::number(where.first - lines.firstLine()) + ":" +
                         QString::number(where.second) + " " + before.character + " at " +
                         QString::number(before.x) + " " +
                         (found == now.end() ? QString("gone")
                                             : found->second.character + QString::number(found->second.x));
            }
        }
        characters_ += now.size();
        seen_ = std::move(now);
    }
    int moves() const { return moves_; }
    std::size_t characters() const { return characters_; }
    std::string first() const { return first_.toStdString(); }

private:
    std::map<std::pair<std::uint64_t, qsizetype>, ReadingLines::Place> seen_;
    int moves_ = 0;
    std::size_t characters_ = 0;
    QString first_;
};

class ReadingLinesTest : public testing::Test {
protected:
    ReadingLinesTest() {
        world_.renew(true);
        world_.vm()->startAll();
        world_.settle();
        lines_.setProperty("viewModel", QVariant::fromValue(world_.vm()));
        lines_.setSession(world_.session(0));
        QFont font = QGuiApplication::font();
        font.setPixelSize(18);
        lines_.setFont(font);
        lines_.setSize({360, 140});
    }

    void hear(const QString& text, bool isFinal) {
        world_.translate(0, text, isFinal);
        world_.settle();
    }

    QGuiApplication& application_ = application();
    ViewWorld world_;
    ReadingLines lines_;
};

TEST_F(ReadingLinesTest, DrawsSettledWordsWhereTheyAreWhateverComes) {
    std::mt19937 random(7);
    std::vector<std::pair<const char*, std::vector<Partial>>> speeches{
        {"recorded", rewritten(partialsIn(TARN_SOURCE_DIR "/tests/reading/partials.tsv"), random)}};
    for (const char* const text :
         {"我们从第二章开始好吗？明年的差旅预算增加了三分之一，但是没有人告诉我为什么会这样。",
          "صباح الخير، هل تسمعونني الآن؟ لنبدأ بالفصل الثاني من الكتاب 12 ثم نتحدث عن الميزانية.",
          "नमस्ते, क्या हम दूसरे अध्याय से शुरू करें? अगले साल का बजट एक तिहाई बढ़ गया है।",
          "สวัสดีครับ เราจะเริ่มจากบทที่สองกันไหม งบประมาณปีหน้าเพิ่มขึ้นหนึ่งในสาม",
          "Wir nennen es AVWA-Ταξίδι «fi–ffl» 第二章 und Ёлка, AVAVA To Te Yo, naïve café."}) {
        speeches.emplace_back(text, rewritten(grown(QString::fromUtf8(text), 90), random));
    }
    for (const auto& [name, partials] : speeches) {
        world_.session(0)->setTargetLang(name);
        DrawnMoves moves;
        int at = 0;
        for (const Partial& partial : partials) {
            world_.pass(std::clamp(partial.at - at, 0, 300));
            at = partial.at;
            hear(partial.text, partial.isFinal);
            moves.look(lines_);
        }
        EXPECT_GT(moves.characters(), 100U) << name;
        EXPECT_EQ(moves.moves(), 0) << name << ": " << moves.first();
    }
}

TEST_F(ReadingLinesTest, KeepsAsManyUtterancesAsAskedInWholeLines) {
    lines_.setKeptUtterances(2);
    for (const char* const text : {"one", "two", "three"}) {
        hear(text, true);
    }
    EXPECT_EQ(lines_.text(), "two\nthree");
    lines_.setKeptUtterances(5);
    for (const char* const text : {"four", "five", "six", "seven"}) {
        hear(text, true);
    }
    EXPECT_EQ(lines_.lineCount(), 5);
    lines_.setHeight(2.9 * lines_.lineHeight() + 2 * ReadingLines::margin());
    EXPECT_EQ(lines_.text(), "six\nseven");
    world_.miss(0, 80);
    world_.settle();
    hear("eight", true);
    EXPECT_EQ(lines_.text(), "[1 min 20 s not translated]\neight");
}

}  // namespace
}  // namespace tarn::test
