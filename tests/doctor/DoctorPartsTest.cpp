// What the doctor is made of, without its surroundings.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/json/parse.hpp>
#include <future>
#include <stdexcept>

#include "TarnApp/doctor/CheckRunner.h"
#include "TarnApp/doctor/DoctorReport.h"

namespace tarn {
namespace {

using testing::HasSubstr;
using testing::Not;

const Wording english(TextLanguage::english);
const Wording chinese(TextLanguage::chinese);

TEST(CheckRunner, HangingAndThrowingChecksCostNothingButTheirOwnResults) {
    const auto release = std::make_shared<std::promise<void>>();
    const auto ended = std::make_shared<std::promise<void>>();
    const std::vector<Check> checks{
        {{"server", "token"},
         std::chrono::milliseconds(100),
         [release, ended](const Report& report) {
             report({.name = "server", .detail = "there"});
             release->get_future().wait();
             report({.name = "token", .detail = "too late for anybody"});
             ended->set_value();
         }},
        {{"fonts"}, std::chrono::seconds(30), [](const Report&) { throw std::runtime_error("no fonts"); }},
        {{"proxy"}, std::chrono::seconds(30), [](const Report& report) { report({.name = "proxy"}); }},
    };
    const auto results = CheckRunner::run(checks, english);
    release->set_value();
    ended->get_future().wait();
    ASSERT_EQ(results.size(), 4U);
    EXPECT_EQ(results[0].detail, "there");
    EXPECT_EQ(results[1].name, "token");
    EXPECT_EQ(results[1].status, CheckStatus::fault);
    EXPECT_EQ(results[1].detail, "no answer within 1 s");
    EXPECT_EQ(results[2].status, CheckStatus::fault);
    EXPECT_THAT(results[2].detail, HasSubstr("no fonts"));
    EXPECT_EQ(results[3].status, CheckStatus::ok);
}

TEST(Wording, FillsInAndTakesTheTeethOutOfWhatComesFromOutside) {
    EXPECT_EQ(english(DoctorText::serverStrange, {"http://%2", "404"}),
              "http://%2 answers with status 404: that is no account server");
    EXPECT_THAT(chinese(DoctorText::linksWork, {"\x1b[2JEvil\n"}), HasSubstr("“ [2JEvil ”"));
}

TEST(DoctorReport, AlignsColumnsInBothLanguagesAndSaysEachAdviceOnceFaultsFirst) {
    const std::vector<CheckResult> results{
        {.name = CheckName::display, .status = CheckStatus::warning, .detail = "D", .advice = "same"},
        {.name = CheckName::audioServer, .status = CheckStatus::fault, .detail = "A", .advice = "start it"},
        {.name = CheckName::portals, .status = CheckStatus::warning, .detail = "P", .advice = "same"},
        {.name = CheckName::proxy, .detail = "X", .advice = "for the curious"}};
    EXPECT_EQ(DoctorReport::asText(results, english),
              "warning  display       D\n"
              "fault    audio server  A\n"
              "warning  portals       P\n"
              "ok       proxy         X\n"
              "\n"
              "What to do:\n"
              "  audio server: start it\n"
              "  display, portals: same\n");
    EXPECT_THAT(DoctorReport::asText(results, chinese), HasSubstr("警告  显示        D\n"
                                                                  "故障  音频服务器  A\n"));
    EXPECT_FALSE(DoctorReport::isGood(results));
    EXPECT_TRUE(DoctorReport::isGood({results[0], results[3]}));
    EXPECT_EQ(DoctorReport::asText({results[3]}, english), "ok  proxy  X\n\nEverything works.\n");
}

TEST(DoctorReport, JsonIsTheSameInEveryLanguageButForItsSentences) {
    const auto json = DoctorReport::asJson(
        {{.name = CheckName::links, .status = CheckStatus::warning, .detail = "“\"\\\n", .advice = "办法"}});
    const auto value = boost::json::parse(json).as_object();
    EXPECT_TRUE(value.at("ok").as_bool());
    const auto& check = value.at("checks").as_array().at(0).as_object();
    EXPECT_EQ(check.at("name"), "links");
    EXPECT_EQ(check.at("status"), "warning");
    EXPECT_EQ(check.at("detail"), "“\"\\\n");
    EXPECT_EQ(check.at("advice"), "办法");
    EXPECT_THAT(json, Not(HasSubstr("\n{")));
}

}  // namespace
}  // namespace tarn
