#include "WordErrors.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "TarnRelay/offline/speech/PocketSphinxRecogniser.h"

namespace tarn::bench {
namespace {

constexpr int silenceMs = 500;  // that ends an utterance

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
        words.push_back(word);
    }
    return words;
}

// Levenshtein's distance in words.
int distance(const std::vector<std::string>& said, const std::vector<std::string>& heard) {
    std::vector<int> row(heard.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 1; i <= said.size(); ++i) {
        int diagonal = row[0];
        row[0] = static_cast<int>(i);
        for (std::size_t j = 1; j <= heard.size(); ++j) {
            const int replaced = diagonal + (said[i - 1] == heard[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row.back();
}

}  // namespace

WordErrors recognise(std::span<const float> samples, const std::string& said) {
    auto recogniser = relay::PocketSphinxFactory().make("en", silenceMs);
    if (!recogniser) {
        throw std::runtime_error(recogniser.error().description);
    }
    std::vector<std::int16_t> pcm(samples.size() + 16000);
    std::ranges::transform(samples, pcm.begin(), [](float x) {
        return static_cast<std::int16_t>(std::lround(std::clamp(x, -1.0F, 1.0F) * 32767));
    });
    std::vector<relay::Hypothesis> heard;
    constexpr std::size_t piece = 1600;
    for (std::size_t at = 0; at < pcm.size(); at += piece) {
        const auto part = std::span(pcm).subspan(at, std::min(piece, pcm.size() - at));
        if (const auto done = (*recogniser)->process(part, heard); !done) {
            throw std::runtime_error(done.error().description);
        }
    }
    std::string text;
    for (const auto& hypothesis : heard) {
        if (hypothesis.final) {
            text += hypothesis.text + ' ';
        }
    }
    const auto truth = wordsOf(said);
    return {.errors = distance(truth, wordsOf(text)), .words = static_cast<int>(truth.size())};
}

}  // namespace tarn::bench
