// The sign-in page over real HTTP: what it gives to its own user, and what it keeps from everybody else.

#include <gmock/gmock.h>
#include <openssl/sha.h>

#include <array>
#include <chrono>
#include <cstring>
#include <fstream>
#include <span>

#include "LoopbackRelay.h"
#include "TarnPlatform/net/Base64.h"
#include "support/LogCapture.h"

namespace tarn::relay {
namespace {

using test::PageAnswer;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using namespace std::chrono_literals;

class SignInTest : public test::LoopbackRelay {};

TEST_F(SignInTest, GivesATokenToWhoConsentsOnItsOwnPage) {
    test::LogCapture log;
    const auto opened = form("Sec-Fetch-Site: none\r\nSec-Fetch-Dest: document\r\n");
    EXPECT_EQ(opened.status, "200");
    EXPECT_THAT(opened.body, AllOf(HasSubstr("<html lang=\"en\">"), HasSubstr("o&#39;hara@localhost"),
                                   Not(HasSubstr("tarn://"))));
    EXPECT_THAT(opened.head, HasSubstr("; Path=/auth; Max-Age=600; HttpOnly; SameSite=Strict\r\n"));
    EXPECT_EQ(tokenCount(), 0U);

    const auto done = consentTo(opened, "a%2Bb%26c%27%3Dd@example.org");
    EXPECT_EQ(done.status, "200");
    EXPECT_THAT(done.token(), MatchesRegex("[A-Za-z0-9_-]{43}"));
    const auto link =
        "tarn://login?token=" + done.token() + "&amp;user_email=a%2Bb%26c%27%3Dd%40example.org\"";
    EXPECT_THAT(done.body, AllOf(HasSubstr("http-equiv=\"refresh\" content=\"0; url=" + link),
                                 HasSubstr("href=\"" + link), HasSubstr(">a+b&amp;c&#39;=d@example.org<")));
    EXPECT_THAT(done.head,
                AllOf(HasSubstr("Referrer-Policy: no-referrer\r\n"), Not(HasSubstr(done.token()))));
    EXPECT_THAT(
        ask("GET /tarn/api/me", "Host: localhost\r\nAuthorization: Bearer " + done.token() + "\r\n").body,
        HasSubstr(R"("email":"a+b&c'=d@example.org")"));
    for (const auto& line : log.lines()) {
        EXPECT_THAT(line, AllOf(Not(HasSubstr(done.token())), Not(HasSubstr("example.org"))));
    }
}

TEST_F(SignInTest, SendsEveryPageUnderAStrictPolicyThatItsOwnStyleMeets) {
    const auto opened = form();
    const auto style = PageAnswer::between(opened.body, "<style>", "</style>");
    std::array<unsigned char, 32> hash{};
    ::SHA256(reinterpret_cast<const unsigned char*>(style.data()), style.size(), hash.data());
    const auto policy = "Content-Security-Policy: default-src 'none'; style-src 'sha256-" +
                        base64Encode(std::as_bytes(std::span(hash))) +
                        "'; form-action 'self'; frame-ancestors 'none'; base-uri 'none'\r\n";
    const auto used = consentTo(opened);
    for (const auto& answer :
         {form(), used, consentTo(opened), post("answer=cancel"), ask("GET /auth", "Host: localhost\r\n"),
          ask("GET " + page, "Host: localhost\r\nSec-Fetch-Dest: iframe\r\n")}) {
        EXPECT_THAT(answer.head,
                    AllOf(HasSubstr(policy), HasSubstr("X-Frame-Options: DENY\r\n"),
                          HasSubstr("Cache-Control: no-store\r\n"),
                          HasSubstr("X-Content-Type-Options: nosniff\r\n"), Not(HasSubstr("Location:"))))
            << answer.status;
    }
}

TEST_F(SignInTest, MakesNoTokenForAnythingElse) {
    const std::string host = "Host: localhost\r\n";
    const std::string sameOrigin = "Origin: http://localhost\r\n";
    struct Attack {
        const char* what;
        std::string headers;  ///< "{cookie}" stands for the page's own
        std::string fields;   ///< "{consent}" likewise
        const char* status;
        std::string requestLine = "POST " + page;
    };
    const std::string cookie = "{cookie}";
    const std::string good = "consent={consent}&email=eve@example.org&answer=allow";
    const std::string own = goodHeaders + cookie;
    const std::vector<Attack> attacks{
        {"a name that was made to point here", "Host: attacker.example\r\n" + formType + cookie, good, "403"},
        {"another site", host + "Origin: https://attacker.example\r\n" + formType + cookie, good, "403"},
        {"two origins", host + sameOrigin + "Origin: null\r\n" + formType + cookie, good, "403"},
        {"another site that hides its origin", host + "Sec-Fetch-Site: cross-site\r\n" + formType + cookie,
         good, "403"},
        {"another port that hides its origin", host + "Sec-Fetch-Site: same-site\r\n" + formType + cookie,
         good, "403"},
        {"a frame", host + sameOrigin + "Sec-Fetch-Dest: iframe\r\n" + formType + cookie, good, "403"},
        {"no cookie", goodHeaders, good, "403"},
        {"another browser's cookie", goodHeaders + cookieLine(std::string(43, 'A')), good, "403"},
        {"a cookie of another name", goodHeaders + "Cookie: tarn_signin2={cookie-value}\r\n", good, "403"},
        {"a guessed value", own, "consent=" + std::string(43, 'A') + "&email=eve@example.org&answer=allow",
         "403"},
        {"the cookie as the value", own, "consent={cookie-value}&email=eve@example.org&answer=allow", "403"},
        {"two values", own, good + "&consent=x", "400"},
        {"an unknown answer", own, "consent={consent}&email=eve@example.org&answer=Allow", "400"},
        {"broken encoding", own, good + "&x=%zz", "400"},
        {"too many fields", own, good + "&a&b&c&d&e&f&g&h&i&j&k&l&m&n", "400"},
        {"plain text", host + sameOrigin + "Content-Type: text/plain\r\n" + cookie, good, "415"},
        {"a large body", own, good + "&x=" + std::string(4096, 'x'), "413"},
        {"no address", own, "consent={consent}&answer=allow", "422"},
        {"a header in the address", own, "consent={consent}&email=a@b%0d%0aSet-Cookie:+x=y&answer=allow",
         "422"},
        {"a script in the address", own,
         "consent={consent}&email=%22%3E%3Cscript%3Ealert(1)%3C/script%3E@b&answer=allow", "422"},
        {"a query instead of a form", host + cookie, "", "200", "GET " + page + "&" + good},
        {"another method", own, good, "405", "PUT " + page},
        {"another place to return to", own, good, "400", "POST /auth?return_to=https://attacker.example"},
    };
    for (const auto& attack : attacks) {
        const auto opened = form();
        const auto fill = [&opened](std::string text) {
            for (const auto& [mark, value] :
                 {std::pair("{cookie}", cookieLine(opened.cookie())),
                  std::pair("{consent}", opened.consent()), std::pair("{cookie-value}", opened.cookie())}) {
                if (const auto at = text.find(mark); at != std::string::npos) {
                    text.replace(at, std::strlen(mark), value);
                }
            }
            return text;
        };
        const auto answer = post(fill(attack.fields), fill(attack.headers), fill(attack.requestLine));
        EXPECT_EQ(answer.status, attack.status) << attack.what;
        EXPECT_THAT(answer.body, AllOf(Not(HasSubstr("tarn://login")), Not(HasSubstr("<script")),
                                       Not(HasSubstr("http-equiv=\"refresh")), Not(HasSubstr("attacker"))))
            << attack.what;
        EXPECT_THAT(answer.head, Not(HasSubstr("Set-Cookie: x"))) << attack.what;
        EXPECT_EQ(tokenCount(), 0U) << attack.what;
    }
    // None of that has closed the page to its own user.
    EXPECT_EQ(consentTo(form()).status, "200");
}

TEST_F(SignInTest, TakesAValueOnceForTenMinutesAndFromItsOwnBrowserOnly) {
    const auto used = form();
    EXPECT_EQ(consentTo(used).status, "200");
    const auto again = consentTo(used);
    EXPECT_EQ(again.status, "403");
    EXPECT_THAT(again.body, AllOf(HasSubstr("role=\"alert\""), HasSubstr("value=\"ada@example.org\"")));
    EXPECT_EQ(consentTo(again).status, "200") << "the page that says so is a new form";

    const auto stolen = form();
    auto thief = form();
    thief.head = form().head;
    EXPECT_NE(stolen.cookie(), thief.cookie());
    EXPECT_EQ(post("consent=" + stolen.consent() + "&email=e@b&answer=allow",
                   goodHeaders + cookieLine(thief.cookie()))
                  .status,
              "403");
    EXPECT_EQ(consentTo(stolen).status, "403") << "a value that another browser knew is used up";

    const auto old = form();
    clock_->advance(10min - 1ms);
    const auto fresh = form();
    clock_->advance(1ms);
    EXPECT_EQ(consentTo(old).status, "403");
    EXPECT_EQ(consentTo(fresh).status, "200");
    EXPECT_EQ(tokenCount(), 3U);
}

TEST_F(SignInTest, LetsTwoPagesOfOneBrowserWorkSideBySide) {
    const auto first = form();
    const auto second = form(cookieLine(first.cookie()));
    EXPECT_EQ(second.cookie(), first.cookie());
    EXPECT_NE(second.consent(), first.consent());
    EXPECT_EQ(consentTo(first).status, "200");
    EXPECT_EQ(consentTo(second).status, "200");
    EXPECT_NE(form(cookieLine("chosen-by-somebody-else")).cookie(), "chosen-by-somebody-else");
}

TEST_F(SignInTest, KeepsOnlySoManyFormsOpen) {
    const auto oldest = form();
    const auto next = form();
    for (int i = 0; i < 63; ++i) {
        form();
    }
    EXPECT_EQ(consentTo(next).status, "200");
    EXPECT_EQ(consentTo(oldest).status, "403");
}

TEST_F(SignInTest, LimitsHowFastTokensAreMade) {
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(consentTo(form()).status, "200");
    }
    const auto refused = consentTo(form());
    EXPECT_EQ(refused.status, "429");
    EXPECT_THAT(refused.head, HasSubstr("Retry-After: 6\r\n"));
    clock_->advance(6s);
    EXPECT_EQ(consentTo(refused).status, "200");
    EXPECT_EQ(consentTo(form()).status, "429");
    EXPECT_EQ(tokenCount(), 11U);
}

TEST_F(SignInTest, CancelsWithoutAToken) {
    const auto opened = form();
    const auto cancelled = post("consent=" + opened.consent() + "&email=a@b&answer=cancel",
                                goodHeaders + cookieLine(opened.cookie()));
    EXPECT_EQ(cancelled.status, "200");
    EXPECT_THAT(cancelled.body, AllOf(HasSubstr("href=\"tarn://open\""), Not(HasSubstr("refresh"))));
    EXPECT_EQ(consentTo(opened).status, "403");
    EXPECT_EQ(tokenCount(), 0U);
}

TEST_F(SignInTest, ReturnsToTarnOrNowhere) {
    for (const auto* query : {"", "?return_to=", "?return_to=MACOS", "?return_to=macos&return_to=macos",
                              "?return_to=https%3A%2F%2Fattacker.example", "?return_to=macos%00",
                              "?return_to=%zz", "?return_to=%22%3E%3Cscript%3E"}) {
        const auto answer = ask(std::string("GET /auth") + query, "Host: localhost\r\n");
        EXPECT_EQ(answer.status, "400") << query;
        EXPECT_THAT(answer.body, AllOf(HasSubstr("Please begin in Tarn"), Not(HasSubstr("attacker")),
                                       Not(HasSubstr("<script")), Not(HasSubstr("href"))));
        EXPECT_EQ(answer.cookie(), "") << query;
    }
}

TEST_F(SignInTest, SaysSoWhenTheTokenCannotBeStoredAndWorksOnceItCan) {
    std::filesystem::create_directories(state_.file("tarn/relay"));
    std::ofstream(tokenFile()) << "not a list of tokens";
    const auto failed = consentTo(form());
    EXPECT_EQ(failed.status, "500");
    EXPECT_THAT(failed.body, AllOf(HasSubstr("could not store"), HasSubstr("value=\"ada@example.org\"")));
    std::filesystem::remove(tokenFile());
    EXPECT_EQ(consentTo(failed).status, "200");
}

class HouseholdSignInTest : public SignInTest {
protected:
    void SetUp() override {
        RelayServer::Options options;
        options.address = "0.0.0.0";
        start(options);
    }
};

TEST_F(HouseholdSignInTest, GivesTokensToItsOwnMachineOnly) {
    const std::string here = "Host: 127.0.0.1:8787\r\n";
    const auto opened = ask("GET " + page, here);
    EXPECT_EQ(opened.status, "200");
    const auto fields = "consent=" + opened.consent() + "&email=e@b&answer=allow";
    for (const std::string& headers :
         {std::string("Host: 192.168.1.5:8787\r\n"), std::string("Host: attacker.example\r\n"),
          here + "X-Forwarded-For: 192.168.1.7\r\n", here + "Forwarded: for=192.168.1.7\r\n"}) {
        for (const auto& answer :
             {ask("GET " + page, headers), post(fields, headers + formType + cookieLine(opened.cookie()))}) {
            EXPECT_EQ(answer.status, "403") << headers;
            EXPECT_THAT(answer.body, AllOf(HasSubstr("tarn-relay issue-token"), Not(HasSubstr("<form"))))
                << headers;
        }
    }
    EXPECT_EQ(tokenCount(), 0U);
    EXPECT_EQ(post(fields, here + formType + cookieLine(opened.cookie())).status, "200");
}

}  // namespace
}  // namespace tarn::relay
