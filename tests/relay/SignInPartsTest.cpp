// The small readers behind the sign-in page: who asks, in which language, and what an e-mail address is.

#include <gtest/gtest.h>

#include <string>

#include "TarnRelay/account/EmailAddress.h"
#include "TarnRelay/account/PageLanguage.h"
#include "TarnRelay/account/RequestCheck.h"

namespace tarn::relay {
namespace {

TEST(EmailAddress, IsWhatABrowserTakesInItsField) {
    const std::string label(63, 'a');
    for (const auto& good :
         {std::string("a@b"), std::string("root@localhost"), std::string("o'hara+x@ex-ample.org"),
          std::string(".a..b@x.y"), "a@" + label + "." + label}) {
        EXPECT_TRUE(isEmailAddress(good)) << good;
    }
    for (const auto& bad :
         {std::string(), std::string("a"), std::string("@b"), std::string("a@"), std::string("a@b@c"),
          std::string("a b@c"), std::string("a@b_c"), std::string("a@-b"), std::string("a@b-"),
          std::string("a@b..c"), std::string("a@b."), std::string("a@.b"), std::string("\"a\"@b"),
          std::string("a\n@b"), std::string("é@b"), std::string("a\0@b", 4), "a@" + label + "a",
          std::string(253, 'a') + "@b"}) {
        EXPECT_FALSE(isEmailAddress(bad)) << bad;
    }
    EXPECT_TRUE(isEmailAddress(std::string(252, 'a') + "@b"));
}

TEST(PageLanguage, IsTheOneThatTheReaderLikesBest) {
    for (const auto* const header :
         {"zh", "ZH-Hant-TW", "fr, zh;q=0.2", "zh, en", "en;q=0.5,zh-CN;q=0.8", ",,;q=1,zh,"}) {
        EXPECT_EQ(pageLanguage(header), PageLanguage::chinese) << header;
    }
    for (const auto* const header :
         {"", "zha", "fr, de;q=0.9", "en, zh", "zh-CN;q=0.5 , en ; q=0.8", "zh;q=0", "zh;q=0, *",
          "zh;q=2, en;q=0.1", "zh;q=, en;q=0.1", "zh;level=1, en;q=0.1"}) {
        EXPECT_EQ(pageLanguage(header), PageLanguage::english) << header;
    }
}

TEST(RequestCheck, KnowsWhoAsksFromThisMachine) {
    struct Case {
        const char* peer;
        const char* host;
        bool expected;
    };
    for (const auto& [peer, host, expected] : {
             Case{"127.0.0.1", "127.0.0.1:8787", true},
             {"::1", "[::1]:8787", true},
             {"::ffff:127.0.0.1", "localhost:8787", true},
             {"192.168.1.7", "127.0.0.1:8787", false},
             {"fe80::1%eth0", "localhost", false},
             {"127.0.0.1", "127.0.0.1.attacker.example", false},
             {"127.0.0.1", "", false},
             {"", "localhost", false},
         }) {
        ServerRequest request;
        request.remoteAddress = peer;
        request.headers.push_back({"Host", host});
        EXPECT_EQ(isFromThisMachine(request), expected) << peer << " " << host;
        request.headers.push_back({"via", "1.1 proxy"});
        EXPECT_FALSE(isFromThisMachine(request)) << peer << " through a proxy";
    }
}

}  // namespace
}  // namespace tarn::relay
