#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace tarn {

/// The newest sound of a stream, as much of it as may have to be sent once more: s16le, 16 kHz, mono.
/// Positions count bytes from the first that was ever appended. Thread: one executor.
class KeptSound {
public:
    /// What is older than this is dropped, whether it is settled or not.
    static constexpr std::chrono::seconds most{120};
    /// A sample below this, -60 dBFS, is silence.
    static constexpr int quietest = 33;
    /// The silence that is left in front of what can be heard: speech may begin softly.
    static constexpr std::chrono::milliseconds leadIn{500};

    static constexpr std::uint64_t bytesPerSecond = 32000;
    static std::uint64_t bytesOf(std::chrono::milliseconds time) {
        return static_cast<std::uint64_t>(time.count()) * bytesPerSecond / 1000;
    }

    void append(std::vector<std::byte> bytes);

    /// Forgets what lies before `position`, which is done with.
    void settle(std::uint64_t position);

    /// Forgets the silence at the beginning, but for `leadIn`. Whoever sends the rest catches up sooner.
    void settleSilence();

    std::uint64_t begin() const { return begin_; }
    std::uint64_t end() const { return end_; }

    /// At most `size` bytes from `position`, which lies between `begin` and `end`.
    std::vector<std::byte> read(std::uint64_t position, std::size_t size) const;

    /// Seconds of sound that were dropped and are not settled; 0 where they were silent. They are told once.
    double takeDropped();

private:
    struct Piece {
        std::vector<std::byte> bytes;
        bool isAudible = false;
    };

    void forgetUpTo(std::uint64_t position);

    std::deque<Piece> pieces_;
    std::uint64_t piecesBegin_ = 0;  ///< position of the first piece, which may begin before `begin_`
    std::uint64_t begin_ = 0;
    std::uint64_t end_ = 0;
    std::uint64_t dropped_ = 0;  ///< bytes
    bool isDroppedAudible_ = false;
};

}  // namespace tarn
