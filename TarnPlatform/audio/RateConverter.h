#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace tarn {

/// One continuous stream of mono samples from one rate to another.
///
/// A polyphase windowed-sinc filter (Kaiser window). The ratio is kept as a fraction of integers, so that the
/// stream never drifts: 44.1 kHz to 16 kHz is 160/441 for ever. Samples may be written in blocks of any size;
/// the result does not depend on how they were cut.
///
/// The filter is flat (0.1 dB) up to 7/8 of the lower rate's half and at least 90 dB down from 17/16 of it:
/// at 16 kHz, flat to 7 kHz, and nothing above 8.5 kHz folds back. Its delay is 28 samples of the lower rate
/// (1.75 ms at 16 kHz) and there is no other: every sample that the input allows comes out at once.
///
/// docs/dependencies.md says why this is no library's.
///
/// Not thread-safe. Equal rates are a plain copy without delay.
class RateConverter {
public:
    /// Rates in Hz, kept to a thousandth. Nothing when a rate is not within `lowestRate` to `highestRate`.
    static std::optional<RateConverter> make(double inputRate, double outputRate);

    static constexpr double lowestRate = 1000.0;
    static constexpr double highestRate = 1'536'000.0;

    /// Adds input. Every sample must be finite.
    void write(std::span<const float> samples);

    /// Fills the front of `samples` with output and returns how many there are; fewer than asked means that
    /// the input ran dry. What does not fit stays for the next call.
    std::size_t read(std::span<float> samples);

    /// Delay between input and output in seconds.
    double delay() const { return delay_; }

    RateConverter(RateConverter&&) noexcept;
    RateConverter& operator=(RateConverter&&) noexcept;
    ~RateConverter();

private:
    struct State;

    RateConverter();

    std::unique_ptr<State> state_;  // null where the rates are equal
    double delay_ = 0;
    std::vector<float> input_;  // what is not consumed yet
    std::size_t copied_ = 0;    // samples of input_ that were read; counts only where the rates are equal
};

}  // namespace tarn
