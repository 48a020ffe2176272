#include "TarnApp/server/JsonRecords.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

TEST(JsonRecordsTest, TurnsSnakeCaseKeysIntoCamelCase) {
    const std::pair<const char*, const char*> cases[] = {
        {"user_id", "userId"},
        {"userId", "userId"},
        {"email", "email"},
        {"one_two_three", "oneTwoThree"},
        {"user_ID", "userId"},
        {"_user_id", "_userId"},
        {"user_id__", "userId__"},
        {"user__id", "userId"},
        {"__", "__"},
        {"", ""},
        {"URL", "URL"},
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
          std::string(R"({"user_id":null,"email":"a@b"})"),
          std::string(R"([{"user_id":"u1","email":"a@b"}])"),
          std::string(R"({"user_id":"u1","email":"a@b"} x)"),
          std::string("{\"user_id\":\"\xff\",\"email\":\"a\"}"), std::string(100000, '[')}) {
        EXPECT_FALSE(decodeRecord<UserAccount>(body)) << body.substr(0, 60);
    }
}

}  // namespace
}  // namespace tarn
