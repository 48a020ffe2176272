#include "TarnPlatform/net/Base64.h"

#include <gtest/gtest.h>

#include <random>

namespace tarn {
namespace {

TEST(Base64, GivesBackWhatItWasGiven) {
    const std::string text = "foob";
    EXPECT_EQ(base64Encode(std::as_bytes(std::span(text))), "Zm9vYg==");
    std::mt19937 random(7);
    for (const std::size_t size : {0U, 1U, 2U, 3U, 1600U, 4801U, 3U * 1024 * 1024 + 1}) {
        std::vector<std::byte> bytes(size);
        for (auto& byte : bytes) {
            byte = std::byte(random() & 0xffU);
        }
        EXPECT_EQ(base64Decode(base64Encode(bytes)), bytes) << size;
    }
}

TEST(Base64, RefusesEveryOtherSpelling) {
    for (const auto* text :
         {"A", "AA", "AAA", "AA=", "A===", "====", "=AAA", "AA=A", "AAA=AAAA", " AAA", "AAA ", "AA\nA",
          "\nAAA", "AAA\n", "AA-_", "AAAA====", "AAAA\n\n\n\n", "AAA\xc3"}) {
        EXPECT_FALSE(base64Decode(text)) << text;
    }
}

}  // namespace
}  // namespace tarn
