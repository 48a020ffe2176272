#include "TarnApp/server/JsonRecords.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

TEST(JsonRecordsTest, TurnsSnakeCaseKeysIntoCamelCase) {
    const std::pair<const char*, const char*> cases[] = {
        {"user_id", "userId"},     {"one_two_three", "oneTwoThree"}, {"_user_id", "_userId"},
        {"user_id__", "userId__"}, {"user__id", "userId"},           {"__", "__"},
        {"a_1b", "a1b"},
    };
    for (const auto& [key, expected] : cases) {
        EXPECT_EQ(camelCaseKey(key), expected) << key;
    }
}

TEST(JsonRecordsTest, ReadsAnAccountWithOtherKeysAroundItAndNothingLess) {
    const UserAccount expected{"u1", "a@b"};
    for (const char* const body : {R"({"user_id":"u1","email":"a@b"})", R"({"userId":"u1","email":"a@b"})",
                                   R"({"plan":{"user_id":3},"user_id":"u1","email":"a@b","n":null})"}) {
        const auto account = decodeRecord<UserAccount>(body);
        ASSERT_TRUE(account) << body;
        EXPECT_EQ(*account, expected) << body;
    }
    for (const std::string& body :
         {std::string(), std::string("{}"), std::string(R"({"email":"a@b"})"),
          std::string(R"({"user_id":"u1"})"), std::string(R"({"user_id":1,"email":"a@b"})"),
          std::string(R"([{"user_id":"u1","email":"a@b"}])"),
          std::string(R"({"user_id":"u1","email":"a@b"} x)"),
          std::string("{\"user_id\":\"\xff\",\"email\":\"a\"}"), std::string(100000, '[')}) {
        EXPECT_FALSE(decodeRecord<UserAccount>(body)) << body.substr(0, 60);
    }
}

TEST(JsonRecordsTest, ReadsWhatTheServerSaysOfItsLanguagesAsFarAsItIsOfUse) {
    std::string many = R"({"hears":["en")";
    for (int i = 0; i < 10000; ++i) {
        many += ",\"x" + std::to_string(i) + "\"";
    }
    const std::pair<std::string, std::optional<ServerLanguages>> cases[] = {
        {R"({"hears":["en"],"translates":{"en":["es","fr"]},"voices":{"es":["Ana"]}})",
         ServerLanguages{{"en"}, {{"en", {"es", "fr"}}}, {{{"es", {"Ana"}}}}}},
        {R"({"hears":["en","en",3,"","tlh_Latn","\u001b[0m","longer than any code"],"other":1})",
         ServerLanguages{{"en", "tlh_Latn"}, {}, {}}},
        {R"({"translates":{"en":"es","":["fr"]},"voices":{}})", ServerLanguages{{}, {{"en", {}}}, {{}}}},
        {R"(["en"])", std::nullopt},
        {R"({"hears":"en","translates":["en"],"voices":3})", std::nullopt},
    };
    const auto read = [](const std::string& languages) {
        return decodeRecord<UserAccount>(R"({"user_id":"u1","email":"a@b","languages":)" + languages + "}");
    };
    for (const auto& [languages, expected] : cases) {
        EXPECT_EQ(read(languages).value().languages, expected) << languages;
    }
    EXPECT_EQ(read(many + "]}").value().languages.value().hears.size(), 256);
}

}  // namespace
}  // namespace tarn
