#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "TarnApp/reading/ReadingText.h"

namespace tarn::test {

/// A text of a stream, as it was told at `at`, in milliseconds.
struct Partial {
    int at = 0;
    bool isOfTranslation = false;
    bool isFinal = false;
    QString text;
};

/// What a stream told, from a file with a line for each text: milliseconds, "s" or "t", whether it is final,
/// how many characters it has in common with the one before, and the rest; tabs between.
inline std::vector<Partial> partialsIn(const std::string& file) {
    std::vector<Partial> all;
    std::ifstream lines(file);
    QString last[2];
    for (std::string line; std::getline(lines, line);) {
        const auto fields = QString::fromStdString(line).split(u'\t');
        const bool isOfTranslation = fields[1] == "t";
        QString& text = last[isOfTranslation ? 1 : 0];
        text = text.left(fields[3].toInt()) + fields[4];
        all.push_back({fields[0].toInt(), isOfTranslation, fields[2] == "1", text});
        if (all.back().isFinal) {
            text.clear();
        }
    }
    return all;
}

/// `partials` as a service that changes its mind would tell them: in a quarter of them words are left out,
/// swapped, said twice, written otherwise or cut off; finals among them.
template <typename Random>
std::vector<Partial> rewritten(std::vector<Partial> partials, Random& random) {
    const auto below = [&](qsizetype end) {
        return static_cast<qsizetype>(random() % static_cast<std::uint64_t>(end));
    };
    for (Partial& partial : partials) {
        QStringList words = partial.text.split(u' ');
        if (words.size() < 2 || below(4) != 0) {
            continue;
        }
        const qsizetype at = below(words.size() - 1);
        switch (below(6)) {
            case 0:
                words.removeAt(at);
                break;
            case 1:
                words.swapItemsAt(at, at + 1);
                break;
            case 2:
                words.insert(at, words[at]);
                break;
            case 3:
                words[at] = words[at].toUpper() + u',';
                break;
            case 4:
                words[at] = QStringLiteral("other");
                break;
            default:
                words.back().chop(below(words.back().size()));
        }
        partial.text = words.join(u' ');
    }
    return partials;
}

/// `text` as it is told while it is said, a few characters more each time.
inline std::vector<Partial> grown(const QString& text, int stepMilliseconds) {
    std::vector<Partial> all;
    for (qsizetype end = 2; end < text.size(); end += 2) {
        all.push_back({static_cast<int>(end) * stepMilliseconds / 2, false, false, text.left(end)});
    }
    all.push_back({static_cast<int>(text.size()) * stepMilliseconds, false, true, text});
    return all;
}

/// Counts how often a settled word was changed, taken away or moved to another place, while its line was
/// there. Words settle and lines go: neither counts.
class SettledMoves {
public:
    void look(const ReadingText& text) {
        const auto lines = text.lines();
        const auto first = text.linesGone();
        firm_.erase(firm_.begin(), firm_.lower_bound(first));
        for (auto& [number, firm] : firm_) {
            const auto index = number - first;
            moves_ += index >= lines.size() || !lines[index].text.startsWith(firm) ? 1 : 0;
        }
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].firm > 0) {
                firm_[first + i] = lines[i].text.left(lines[i].firm);
            }
        }
    }
    int moves() const { return moves_; }

private:
    std::map<std::uint64_t, QString> firm_;  ///< the settled beginning of each line, by its number
    int moves_ = 0;
};

}  // namespace tarn::test
