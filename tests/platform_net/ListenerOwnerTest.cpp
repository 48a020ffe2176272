#include "TarnPlatform/net/ListenerOwner.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include "TarnPlatform/net/HttpSession.h"
#include "support/Program.h"
#include "support/RunTask.h"

namespace tarn {
namespace {

constexpr uid_t stranger = 65534;

TEST(ListenerOwner, IsWhoAnswersAtThisMachinesAddress) {
    const struct {
        const char* name;
        const char* tcp;
        const char* tcp6;
        std::optional<uid_t> owner;
    } cases[] = {
        {"loopback", " 0: 0100007F:2253 00000000:0000 0A 00000000:00000000 00:00000000 00000000 1234 0 1\n",
         "", 1234},
        {"allAddressesOfBothKinds", "",
         " 0: 00000000000000000000000000000000:2253 00000000000000000000000000000000:0000 0A "
         "00000000:00000000 00:00000000 00000000 7 0 1\n",
         7},
        {"connectionsDoNotCount",
         " 0: 0100007F:2253 0100007F:9999 01 00000000:00000000 00:00000000 00000000 7 0 1\n", "",
         std::nullopt},
        {"otherPortsAndAddressesDoNot",
         " 0: 0100007F:2254 00000000:0000 0A 00000000:00000000 00:00000000 00000000 7 0 1\n"
         " 1: 0200A8C0:2253 00000000:0000 0A 00000000:00000000 00:00000000 00000000 7 0 1\nnonsense\n",
         "", std::nullopt},
        {"aStrangerComesBeforeRoot",
         " 0: 00000000:2253 00000000:0000 0A 00000000:00000000 00:00000000 00000000 7 0 1\n"
         " 1: 0100007F:2253 00000000:0000 0A 00000000:00000000 00:00000000 00000000 0 0 1\n",
         "", 7}};
    for (const auto& [name, tcp, tcp6, owner] : cases) {
        SCOPED_TRACE(name);
        const test::TemporaryFolder folder;
        const std::string header =
            "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid\n";
        folder.write("tcp", header + tcp);
        folder.write("tcp6", header + tcp6);
        const auto found = ownerOfListener(8787, folder.path());
        ASSERT_TRUE(found);
        EXPECT_EQ(*found, owner);
        EXPECT_FALSE(ownerOfListener(8787, folder.file("none"))) << "nothing to read";
    }
}

TEST(ListenerOwner, NothingIsSentToAnotherUsersProgram) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can listen as another user";
    }
    asio::io_context context{1};
    const asio::ip::tcp::endpoint anyPort(asio::ip::address_v4::loopback(), 0);
    const asio::ip::tcp::acceptor own(context, anyPort);
    EXPECT_TRUE(checkListenerIsOurs(own.local_endpoint().port()));
    ASSERT_EQ(::seteuid(stranger), 0);
    asio::ip::tcp::acceptor foreign(context, anyPort);
    ASSERT_EQ(::seteuid(0), 0);
    NetworkContext network{context.get_executor(), Clock::system(), {}, TlsTrust::system()};
    network.mayUse = [](const Url& url) { return checkListenerIsOurs(url.portOrDefault()); };
    HttpRequest request;
    request.url = Url::parse("http://127.0.0.1:" + std::to_string(foreign.local_endpoint().port())).value();
    const auto answer = test::runTask(context, HttpSession::make(network)->send(std::move(request)));
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.error().kind, ErrorKind::unavailable);
    EXPECT_THAT(answer.error().description, testing::HasSubstr("another user of this machine"));
    foreign.non_blocking(true);
    boost::system::error_code error;
    if (auto client = foreign.accept(error); client.is_open()) {
        std::array<char, 1> byte{};
        EXPECT_EQ(client.read_some(asio::buffer(byte), error), 0U);
    }
}

}  // namespace
}  // namespace tarn
