// Reading mode over speech that a stream told of: how often a settled word moves, how long a word takes to
// settle, and how many settled words the final text contradicts.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <optional>
#include <random>

#include "support/Partials.h"

namespace {

using namespace tarn;

struct Figures {
    int texts = 0;
    int utterances = 0;
    std::size_t words = 0;
    std::size_t wrong = 0;
    int moves = 0;
    std::vector<int> delays;  ///< ms from the moment since which a word stood where it settled
};

/// When each word of an utterance came to where it is now.
class Appearances {
public:
    void look(const SettledText& text, int at, std::vector<int>& delays) {
        const std::size_t settled = text.settled().size();
        const auto word = [&](std::size_t i) {
            return i < settled ? text.settled()[i].key : text.tail()[i - settled].key;
        };
        seen_.resize(settled + text.tail().size());
        for (std::size_t i = settled_; i < seen_.size(); ++i) {
            if (seen_[i].key != word(i)) {
                seen_[i] = {word(i), at};
            }
        }
        for (; settled_ < settled; ++settled_) {
            delays.push_back(at - seen_[settled_].at);
        }
    }

private:
    struct Seen {
        std::size_t key = 0;
        int at = 0;
    };
    std::vector<Seen> seen_;
    std::size_t settled_ = 0;
};

void read(const std::vector<test::Partial>& partials, SettledText::Rules rules, int width, Figures& figures) {
    const auto time = [](int at) { return Clock::TimePoint(std::chrono::milliseconds(at + 1000000)); };
    for (const bool isOfTranslation : {false, true}) {
        ReadingText pane(rules);
        pane.setRoom(width, 1, [](const QString& line) { return static_cast<double>(line.size()); });
        test::SettledMoves moves;
        std::optional<SettledText> words(rules);
        Appearances appearances;
        for (const auto& partial : partials) {
            if (partial.isOfTranslation != isOfTranslation) {
                continue;
            }
            const auto due = words->nextSettling(time(0));
            if (due && *due <= time(partial.at)) {
                words->letSettle(*due);
                appearances.look(*words, static_cast<int>((*due - time(0)) / std::chrono::milliseconds(1)),
                                 figures.delays);
                pane.letSettle(*due);
                moves.look(pane);
            }
            ++figures.texts;
            if (partial.isFinal) {
                pane.finish(partial.text);
                words->finish(partial.text);
            } else {
                pane.hear(partial.text, time(partial.at));
                words->hear(partial.text, time(partial.at));
            }
            moves.look(pane);
            appearances.look(*words, partial.at, figures.delays);
            if (partial.isFinal) {
                ++figures.utterances;
                figures.words += words->settled().size();
                for (const auto& wrong : words->wrong()) {
                    figures.wrong += std::max(wrong.count, wrong.otherCount);
                }
                words.emplace(rules);
                appearances = {};
            }
        }
        figures.moves += moves.moves();
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Reading mode over an hour of partial texts");
    std::string file = "tests/reading/partials.tsv";
    int minutes = 60;
    SettledText::Rules rules;
    int still = static_cast<int>(rules.still.count());
    double doubt = 0.5;
    app.add_option("--partials", file, "what a stream told");
    app.add_option("--minutes", minutes, "of speech, with that repeated");
    app.add_option("--agreement", rules.agreement, "texts in a row that a word settles with");
    app.add_option("--still", still, "ms after which it settles without them");
    app.add_option("--rewritten", doubt, "the part of the repetitions with more changes of mind");
    CLI11_PARSE(app, argc, argv);
    rules.still = std::chrono::milliseconds(still);

    const auto recorded = tarn::test::partialsIn(file);
    std::mt19937_64 random(17);
    Figures figures;
    int passed = 0;
    for (int i = 0; passed < minutes * 60000; ++i) {
        const bool isRewritten = std::uniform_real_distribution<>()(random) < doubt;
        read(isRewritten ? tarn::test::rewritten(recorded, random) : recorded, rules, 20 + i % 60, figures);
        passed += recorded.back().at;
    }
    std::ranges::sort(figures.delays);
    const auto part = [&](double share) {
        return figures
            .delays[static_cast<std::size_t>(share * static_cast<double>(figures.delays.size() - 1))];
    };
    std::printf("%d min: %d texts, %d utterances, %zu words\n", passed / 60000, figures.texts,
                figures.utterances, figures.words);
    std::printf("moves of settled words: %d\n", figures.moves);
    std::printf("settled after: median %d ms, 95 %% %d ms, longest %d ms\n", part(0.5), part(0.95), part(1));
    std::printf("contradicted by the final text: %.1f %%\n",
                100.0 * static_cast<double>(figures.wrong) / static_cast<double>(figures.words));
    return figures.moves == 0 ? 0 : 1;
}
