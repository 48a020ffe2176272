#include "Base64.h"

#include <openssl/evp.h>

#include <climits>

namespace tarn {

std::string base64Encode(std::span<const std::byte> bytes) {
    std::string text((bytes.size() + 2) / 3 * 4, '\0');
    // The library counts in int, so a long input goes in pieces that need no padding between them.
    constexpr std::size_t piece = std::size_t{3} * 1024 * 1024;
    auto* out = reinterpret_cast<unsigned char*>(text.data());
    while (!bytes.empty()) {
        const auto part = bytes.first(std::min(piece, bytes.size()));
        // It also writes a terminating zero, which lands on the next piece or on the string's own terminator.
        out += EVP_EncodeBlock(out, reinterpret_cast<const unsigned char*>(part.data()),
                               static_cast<int>(part.size()));
        bytes = bytes.subspan(part.size());
    }
    return text;
}

std::optional<std::vector<std::byte>> base64Decode(std::string_view text) {
    if (text.empty()) {
        return std::vector<std::byte>();
    }
    if (text.size() % 4 != 0 || text.size() > INT_MAX) {
        return std::nullopt;
    }
    // The library skips white space at both ends and takes any number of "=" for zero bits.
    const auto isSpace = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    if (isSpace(text.front()) || isSpace(text.back())) {
        return std::nullopt;
    }
    const std::size_t padding = text.ends_with("==") ? 2 : (text.ends_with('=') ? 1 : 0);
    if (text.substr(0, text.size() - padding).contains('=')) {
        return std::nullopt;
    }
    std::vector<std::byte> bytes(text.size() / 4 * 3);
    const int size =
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                        reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
    if (size < 0 || static_cast<std::size_t>(size) != bytes.size()) {
        return std::nullopt;
    }
    bytes.resize(bytes.size() - padding);
    return bytes;
}

}  // namespace tarn
