#include "KeptSound.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "TarnCore/audio/ServiceAudio.h"

namespace tarn {
namespace {

bool isAudible(const std::vector<std::byte>& bytes) {
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        if (std::abs(int{serviceSample(bytes.data(), i / 2)}) >= KeptSound::quietest) {
            return true;
        }
    }
    return false;
}

}  // namespace

void KeptSound::append(std::vector<std::byte> bytes) {
    if (bytes.empty()) {
        return;
    }
    end_ += bytes.size();
    const bool audible = isAudible(bytes);
    pieces_.push_back({std::move(bytes), audible});
    while (end_ - begin_ > bytesOf(most)) {
        const Piece& oldest = pieces_.front();
        const std::uint64_t next = piecesBegin_ + oldest.bytes.size();
        dropped_ += next - begin_;
        isDroppedAudible_ = isDroppedAudible_ || oldest.isAudible;
        forgetUpTo(next);
    }
}

void KeptSound::settle(std::uint64_t position) {
    if (position <= begin_) {
        return;
    }
    dropped_ = 0;  // it lies before what is done with
    isDroppedAudible_ = false;
    forgetUpTo(std::min(position & ~std::uint64_t{1}, end_));
}

void KeptSound::settleSilence() {
    std::uint64_t audible = piecesBegin_;
    for (const Piece& piece : pieces_) {
        if (piece.isAudible) {
            break;
        }
        audible += piece.bytes.size();
    }
    const std::uint64_t kept = bytesOf(leadIn);
    if (audible > begin_ + kept) {
        forgetUpTo(audible - kept);
    }
}

void KeptSound::forgetUpTo(std::uint64_t position) {
    begin_ = std::max(begin_, position);
    while (!pieces_.empty() && piecesBegin_ + pieces_.front().bytes.size() <= begin_) {
        piecesBegin_ += pieces_.front().bytes.size();
        pieces_.pop_front();
    }
}

std::vector<std::byte> KeptSound::read(std::uint64_t position, std::size_t size) const {
    std::vector<std::byte> bytes;
    bytes.reserve(std::min<std::uint64_t>(size, end_ - position));
    std::uint64_t at = piecesBegin_;
    for (auto piece = pieces_.begin(); piece != pieces_.end() && bytes.size() < size; ++piece) {
        const std::uint64_t next = at + piece->bytes.size();
        if (next > position) {
            const auto skip = static_cast<std::size_t>(std::max(position, at) - at);
            const std::size_t taken = std::min(piece->bytes.size() - skip, size - bytes.size());
            const auto first = piece->bytes.begin() + static_cast<std::ptrdiff_t>(skip);
            bytes.insert(bytes.end(), first, first + static_cast<std::ptrdiff_t>(taken));
        }
        at = next;
    }
    return bytes;
}

double KeptSound::takeDropped() {
    const std::uint64_t dropped = std::exchange(dropped_, 0);
    const bool wasAudible = std::exchange(isDroppedAudible_, false);
    return wasAudible ? static_cast<double>(dropped) / static_cast<double>(bytesPerSecond) : 0;
}

}  // namespace tarn
