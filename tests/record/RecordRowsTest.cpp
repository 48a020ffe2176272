// What a search and a choice of sources leave of a record while it grows, loses its first and is looked
// through.
#include "TarnApp/record/RecordRows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTest>

#include "TarnApp/record/ShownUtterance.h"

namespace tarn::test {
namespace {

using testing::ElementsAre;

Utterance said(int second, const std::string& text, const std::string& translation = "", int source = 0,
               const std::string& name = "System audio") {
    Utterance made;
    made.source = source;
    made.sourceName = name;
    made.saidAt = Utterance::TimePoint(std::chrono::seconds(second));
    made.text = text;
    made.translation = translation;
    return made;
}

class RecordRowsTest : public testing::Test {
protected:
    std::vector<std::string> texts() const {
        std::vector<std::string> all;
        for (int row = 0; row < rows_.count(); ++row) {
            all.push_back(rows_.at(row)->text);
        }
        return all;
    }
    void awaitSearch() {
        while (rows_.isSearching()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    int count_ = 0;
    QCoreApplication application_{count_, nullptr};
    Record record_;
    RecordRows rows_;
};

TEST_F(RecordRowsTest, SearchesBothTextsInAnyCase) {
    const struct {
        const char* search;
        const char* found;
    } cases[] = {
        {"", "0123456"},  {"  ", "0123456"}, {"MORNING", "0"},   {"straße", "1"},
        {"STRASSE", "1"}, {"第二章", "2"},   {"ΣΊΣΥΦΟΣ", "3"},   {"tarn 2", "4"},
        {"早上", "0"},    {"2min", ""},      {"two words", "5"}, {"abcdef", "6"},
    };
    const std::pair<const char*, const char*> texts[] = {
        {"Good morning", "早上好"},     {"Die Straße", ""},   {"Chapter two", "第二章"}, {"Σίσυφος", ""},
        {"Ｔａｒｎ　２ runs", "other"}, {"two\n\twords", ""}, {"abc\u202edef", ""},
    };
    int second = 0;
    for (const auto& [text, translation] : texts) {
        record_.add(said(++second, text, translation));
    }
    rows_.follow(&record_);
    for (const auto& [search, found] : cases) {
        rows_.setSearch(QString::fromUtf8(search));
        std::string numbers;
        for (int row = 0; row < rows_.count(); ++row) {
            numbers += std::to_string(rows_.at(row)->saidAt.time_since_epoch() / std::chrono::seconds(1) - 1);
        }
        EXPECT_EQ(numbers, found) << search;
    }
}

TEST_F(RecordRowsTest, ShowsTheChosenSources) {
    rows_.follow(&record_);
    record_.add(said(1, "a"));
    record_.add(said(2, "b", "", 1, "Microphone"));
    record_.add(said(3, "c", "", 2));
    const auto labels = [&] {
        std::string all;
        for (const QVariant& source : rows_.sources()) {
            all += (source.toMap()["label"].toString() + (source.toMap()["chosen"].toBool() ? "* " : " "))
                       .toStdString();
        }
        return all;
    };
    EXPECT_EQ(labels(), "System audio 1 Microphone System audio 3 ");
    rows_.toggleSource(1);
    EXPECT_THAT(texts(), ElementsAre("b"));
    rows_.toggleSource(2);
    EXPECT_THAT(texts(), ElementsAre("b", "c"));
    EXPECT_EQ(labels(), "System audio 1 Microphone* System audio 3* ");
    rows_.toggleSource(1);
    rows_.toggleSource(2);
    EXPECT_THAT(texts(), ElementsAre("a", "b", "c"));
}

TEST_F(RecordRowsTest, GrowsInItsPlaceAndLosesTheFirst) {
    rows_.follow(&record_);
    rows_.setSearch("x");
    QSignalSpy inserted(&rows_, &RecordRows::rowsInserted);
    QSignalSpy removed(&rows_, &RecordRows::rowsRemoved);
    QSignalSpy reset(&rows_, &RecordRows::modelReset);
    record_.add(said(10, "x10"));
    record_.add(said(30, "x30"));
    record_.add(said(40, "no"));
    record_.add(said(20, "x20"));
    EXPECT_THAT(texts(), ElementsAre("x10", "x20", "x30"));
    EXPECT_EQ(inserted.back()[1].toInt(), 1);
    record_.add(said(5, "no"));
    for (std::size_t i = record_.utterances().size(); i < Record::mostUtterances; ++i) {
        record_.add(said(50, "no"));
    }
    EXPECT_THAT(texts(), ElementsAre("x10", "x20", "x30"));
    record_.add(said(60, "no"));  // "no" of second 5 goes
    EXPECT_TRUE(removed.empty());
    record_.add(said(60, "x60"));
    EXPECT_THAT(texts(), ElementsAre("x20", "x30", "x60"));
    EXPECT_EQ(removed.size(), 1);
    EXPECT_TRUE(reset.empty());
    record_.clear();
    EXPECT_THAT(texts(), ElementsAre());
}

TEST_F(RecordRowsTest, LooksThroughALongRecordInTurnsWhileItChanges) {
    for (std::size_t i = 0; i < Record::mostUtterances; ++i) {
        const auto number = std::to_string(i);
        record_.add(
            said(static_cast<int>(i), (i % 100 == 0 ? "Needle " : "hay ") + number + std::string(200, 'y')));
    }
    rows_.follow(&record_);
    awaitSearch();
    rows_.setSearch("nEEDLE");
    ASSERT_TRUE(rows_.isSearching()) << "all in one turn: the case below is not tried";
    EXPECT_EQ(rows_.count(), static_cast<int>(Record::mostUtterances)) << "they stay until then";
    record_.add(said(50, "needle among what was looked at"));
    record_.add(said(1'000'000, "needle behind all"));
    record_.add(said(1'000'001, "hay"));
    awaitSearch();
    ASSERT_EQ(rows_.count(), 201) << "two more, and the first is gone";
    EXPECT_EQ(texts().front(), "needle among what was looked at");
    EXPECT_EQ(texts().back(), "needle behind all");
    rows_.setSearch("");
    rows_.show(std::make_shared<std::vector<Utterance>>(100'000, said(1, "of a run")));
    awaitSearch();
    EXPECT_EQ(rows_.count(), 100'000);
}

TEST_F(RecordRowsTest, ShowsWhatServicesSendAsOneLineInItsOwnDirection) {
    const struct {
        std::string text;
        const char* shown;
    } cases[] = {
        {"two\r\nlines\u2028and\tmore", "two lines and more"},
        {std::string("a\0b\x1b[31m", 9).substr(0, 8), "a b [31m"},
        {"\u202Eturned\u202C \u2066isolated\u2069", "turned isolated"},
        {"\u200Eשלום\u200F", "\u200Eשלום\u200F"},
        {"bad \xff utf", "bad \uFFFD utf"},
        {"\uFFFC\uFDD0", "\uFFFD\uFFFD"},
    };
    for (const auto& [text, shown] : cases) {
        EXPECT_EQ(shownText(text).toStdString(), shown) << text;
    }
    Utterance both = said(0, "Hello\u202E", "你好\n");
    EXPECT_EQ(copiedText(both).toStdString(),
              (shownClock(both) + " System audio\nHello\n你好\n").toStdString());
    Utterance gap = said(0, "");
    gap.kind = Utterance::Kind::untranslated;
    gap.seconds = 80;
    EXPECT_TRUE(copiedText(gap).endsWith("\n[1 min 20 s not translated]\n")) << copiedText(gap).toStdString();
}

}  // namespace
}  // namespace tarn::test
