// The page for other programs, asked by peers that say exactly the bytes a test wants.
#include "TarnApp/elsewhere/SubtitlePage.h"

#include <gmock/gmock.h>

#include "platform_net_server/RawPeer.h"

namespace tarn::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* key = "00112233445566778899aabbccddeeff";

class SubtitlePageTest : public testing::Test {
protected:
    std::string ask(const std::string& target, const std::string& headers, const char* method = "GET") const {
        RawPeer peer(page_->port());
        peer.send(std::string(method) + " " + target + " HTTP/1.1\r\n" + headers +
                  "Connection: close\r\n\r\n");
        return peer.readToEnd();
    }
    std::string host(const std::string& name = "127.0.0.1") const {
        return "Host: " + name + ":" + std::to_string(page_->port()) + "\r\n";
    }
    /// A page that is open, which has had its first event.
    std::unique_ptr<RawPeer> listener() const {
        auto peer = std::make_unique<RawPeer>(page_->port());
        peer->send("GET /overlay/events?key=" + std::string(key) + " HTTP/1.1\r\n" + host() + "\r\n");
        EXPECT_THAT(peer->readHead(), HasSubstr("Content-Type: text/event-stream\r\n"));
        EXPECT_THAT(peer->readHead(), StartsWith("data: ["));
        return peer;
    }

    const std::unique_ptr<SubtitlePage> page_ = SubtitlePage::open(NetworkContext::shared(), 0, key).value();
};

TEST_F(SubtitlePageTest, AnswersNobodyButWhoNamesThisMachineAndTheKey) {
    const std::string good = "/overlay?key=" + std::string(key);
    const std::string port = ":" + std::to_string(page_->port());
    const struct {
        const char* what;
        std::string target;
        std::string headers;
        const char* status;
    } rows[] = {
        {"the page", good, host(), "HTTP/1.1 200 "},
        {"by name", good + "&source=1", host("localhost"), "HTTP/1.1 200 "},
        {"typed", good, host() + "Sec-Fetch-Site: none\r\n", "HTTP/1.1 200 "},
        {"its own", good, host() + "Origin: http://127.0.0.1" + port + "\r\n", "HTTP/1.1 200 "},
        {"wrong key", "/overlay?key=00112233445566778899aabbccddeefe", host(), "HTTP/1.1 403 "},
        {"half a key", "/overlay?key=00112233", host(), "HTTP/1.1 403 "},
        {"no key", "/overlay", host(), "HTTP/1.1 403 "},
        {"a key's name within another's", "/overlay?monkey=" + std::string(key), host(), "HTTP/1.1 403 "},
        {"rebound", good, host("evil.example"), "HTTP/1.1 403 "},
        {"rebound to its own port", good, "Host: evil.example\r\n", "HTTP/1.1 403 "},
        {"another port", good, "Host: 127.0.0.1:1\r\n", "HTTP/1.1 403 "},
        {"two hosts", good, host() + host("evil.example"), "HTTP/1.1 403 "},
        {"no host", good, "", "HTTP/1.1 403 "},
        {"another origin", good, host() + "Origin: https://evil.example\r\n", "HTTP/1.1 403 "},
        {"no origin to speak of", good, host() + "Origin: null\r\n", "HTTP/1.1 403 "},
        {"another port of this machine", good, host() + "Origin: http://127.0.0.1:1\r\n", "HTTP/1.1 403 "},
        {"an image elsewhere", good, host() + "Sec-Fetch-Site: cross-site\r\n", "HTTP/1.1 403 "},
        {"events elsewhere", "/overlay/events?key=" + std::string(key),
         host() + "Origin: https://evil.example\r\n", "HTTP/1.1 403 "},
        {"events without a key", "/overlay/events", host(), "HTTP/1.1 403 "},
        {"another path", "/secrets?key=" + std::string(key), host(), "HTTP/1.1 404 "},
    };
    for (const auto& row : rows) {
        const std::string answer = ask(row.target, row.headers);
        EXPECT_THAT(answer, StartsWith(row.status)) << row.what;
        EXPECT_THAT(answer, Not(HasSubstr("Access-Control"))) << row.what;
        EXPECT_THAT(answer, HasSubstr("Cache-Control: no-store\r\n")) << row.what;
    }
    EXPECT_THAT(ask(good, host(), "POST"), StartsWith("HTTP/1.1 405 "));
}

TEST_F(SubtitlePageTest, TellsThePagesThatAreOpenWhatThereIsNow) {
    const auto one = listener();
    const auto other = listener();
    page_->show({{"Zoom", "line \"one\"", "=\u202e</script>"}, {"Mic", "", ""}});
    for (const auto& peer : {one.get(), other.get()}) {
        EXPECT_EQ(peer->readHead(),
                  "data: [{\"name\":\"Zoom\",\"original\":\"line \\\"one\\\"\","
                  "\"translation\":\"=\u202e</script>\"},"
                  "{\"name\":\"Mic\",\"original\":\"\",\"translation\":\"\"}]\r\n\r\n");
    }
}

TEST_F(SubtitlePageTest, ASlowPageHoldsUpNobodyAndFillsNothing) {
    const auto slow = listener();
    for (int number = 0; number < 2000; ++number) {
        page_->show({{"Zoom", std::string(2000, 'x'), std::to_string(number)}});
    }
    const auto quick = listener();
    page_->show({{"Zoom", "", "last"}});
    EXPECT_THAT(quick->readHead(), HasSubstr("last"));
}

}  // namespace
}  // namespace tarn::test
