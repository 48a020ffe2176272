#pragma once

namespace tarn {

/// How much faster than the user wants the dub is spoken, by how much of it waits. The factor grows with
/// what waits, so that a translation that is steadily longer than the speech finds a speed at which it falls
/// no further behind, instead of going back and forth between two. It begins above `behind` and lasts down to
/// `caughtUp`, and changes slowly enough not to be heard as a change.
///
/// Thread: one, which may be the audio callback.
class DubPace {
public:
    // Seconds of speech that wait, at its own speed.
    static constexpr double behind = 2;        ///< above: faster
    static constexpr double caughtUp = 1;      ///< at most this: as the user wants it again
    static constexpr double farBehind = 4;     ///< from here on: as fast as it gets
    static constexpr double mostWaiting = 10;  ///< above: whole utterances are skipped

    static constexpr double fastest = 1.3;
    static constexpr double mostChange = 0.1;  ///< of the factor, in a second

    /// The factor for the next `passed` seconds of output, while `waiting` seconds of speech are queued. A
    /// number that is none counts as no news, one below 0 as 0.
    double stepRt(double waiting, double passed) noexcept;

    /// Nothing is spoken: the next word is spoken as the user wants it, since nobody hears a change in a
    /// pause.
    void restRt() noexcept;

    double factor() const noexcept { return factor_; }  ///< 1 to `fastest`

private:
    double factor_ = 1;
    double aim_ = 1;
    bool isBehind_ = false;
};

}  // namespace tarn
