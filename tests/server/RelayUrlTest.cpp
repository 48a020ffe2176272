#include <gtest/gtest.h>

#include "TarnApp/server/RealTarnServerClient.h"

namespace tarn {
namespace {

TEST(RelayUrlTest, CarriesTheSettingsInOrderAndEncoded) {
    struct Case {
        const char* base;
        std::optional<std::string> source;
        const char* target;
        std::optional<std::string> voice;
        const char* clone;
        std::optional<int> silence;
        const char* url;
    };
    const Case cases[] = {
        {"http://[::1]:9/t", {}, "de", {}, "none", {}, "ws://[::1]:9/t/ws/translate-stream?target=de"},
        {"HTTP://h/tarn/", {}, "de", {}, "none", {}, "ws://h/tarn/ws/translate-stream?target=de"},
        {"https://h", {}, "", {}, "none", {}, "wss://h/ws/translate-stream?target="},
        {"//h:1/tarn", {}, "de", {}, "none", {}, "wss://h:1/tarn/ws/translate-stream?target=de"},
        {"https://u:p@h/t?x=1#f", {}, "de", {}, "none", {}, "wss://h/t/ws/translate-stream?target=de"},
        {"https://h/t", "", "de", "Cherry", "always", 900,
         "wss://h/t/ws/translate-stream?target=de&voice=Cherry&clone=always&vad_ms=900"},
        {"https://h/t", "en", "de", "", "None", 0,
         "wss://h/t/ws/translate-stream?target=de&source=en&clone=None&vad_ms=0"},
        {"https://h/t",
         "a&b=c",
         "d e#f",
         "ü/?",
         "100%\r\n",
         {},
         "wss://h/t/ws/"
         "translate-stream?target=d%20e%23f&source=a%26b%3Dc&voice=%C3%BC%2F%3F&clone=100%25%0D%0A"},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.url);
        const auto base = Url::parse(entry.base);
        ASSERT_TRUE(base);
        const auto url = RealTarnServerClient::relayUrl(*base, entry.source, entry.target, entry.voice,
                                                        entry.clone, entry.silence);
        ASSERT_TRUE(url);
        EXPECT_EQ(url->text(), entry.url);
    }
}

TEST(RelayUrlTest, FailsWithoutAHost) {
    const auto url = RealTarnServerClient::relayUrl(Url::parse("/tarn").value(), {}, "de", {}, "none", {});
    ASSERT_FALSE(url);
    EXPECT_EQ(explain(url.error()), "could not build ws url");
}

}  // namespace
}  // namespace tarn
