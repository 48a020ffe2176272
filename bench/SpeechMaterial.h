#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tarn::bench {

/// One utterance and what is said in it.
struct Utterance {
    std::string group;  ///< a voice's name, or "recordings"
    std::string text;
    std::vector<float> samples;  ///< mono, at `dubRate`
};

/// The recordings of people that come with the recogniser, and `sentences` everyday sentences (30 at most) in
/// each of three synthetic voices. Throws what went wrong.
std::vector<Utterance> speechMaterial(int sentences);

/// Samples from one rate to another, the filter's delay taken off.
std::vector<float> atRate(std::span<const float> samples, double from, double to);

struct WordCount {
    int wrong = 0;
    int all = 0;

    WordCount& operator+=(const WordCount& other) {
        wrong += other.wrong;
        all += other.all;
        return *this;
    }
    double percent() const { return 100.0 * wrong / (all > 0 ? all : 1); }
};

/// Insertions, deletions and substitutions between what was said and what was heard.
WordCount wordErrors(const std::string& said, const std::string& heard);

/// Hears one utterance after another. Each comes with a pause of its own, so that none leans on the next.
class Hearing {
public:
    Hearing();
    Hearing(Hearing&&) noexcept;
    ~Hearing();

    /// Mono samples at `dubRate`, taken as 16-bit samples are: what is beyond full scale is cut off.
    std::string hear(std::span<const float> samples);

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace tarn::bench
