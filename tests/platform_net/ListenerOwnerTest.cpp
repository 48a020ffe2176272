#include "TarnPlatform/net/ListenerOwner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstdlib>
#include <fstream>

#include "TarnPlatform/net/HttpSession.h"
#include "support/RunTask.h"

namespace tarn {
namespace {

constexpr uid_t stranger = 65534;

struct TableCase {
    const char* name;
    const char* tcp;
    const char* tcp6;
    std::optional<uid_t> owner;
};

class ListenerTable : public testing::TestWithParam<TableCase> {};

TEST_P(ListenerTable, NamesWhoAnswersAtThisMachinesAddress) {
    std::string pattern = std::filesystem::temp_directory_path() / "tarn-listeners-XXXXXX";
    const std::filesystem::path folder = ::mkdtemp(pattern.data());
    const std::string header =
        "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid\n";
    std::ofstream(folder / "tcp") << header << GetParam().tcp;
    std::ofstream(folder / "tcp6") << header << GetParam().tcp6;
    const auto owner = ownerOfListener(8787, folder);
    std::filesystem::remove_all(folder);
    ASSERT_TRUE(owner);
    EXPECT_EQ(*owner, GetParam().owner);
    EXPECT_FALSE(ownerOfListener(8787, folder)) << "nothing to read";
}

INSTANTIATE_TEST_SUITE_P(
    Table, ListenerTable,
    testing::Values(
        TableCase{"loopback",
                  " 0: 0100007F:2253 00000000:0000 0A 00000000:00000000 00:00000000 00000000 1234 0 1\n", "",
                  1234},
        TableCase{"allAddressesOfBothKinds", "",
                  " 0: 00000000000000000000000000000000:2253 00000000000000000000000000000000:0000 0A "
                  "00000000:00000000 00:00000000 00000000 7 0 1\n",
                  7},
        TableCase{"connectionsDoNotCount",
                  " 0: 0100007F:2253 0100007F:9999 01 00000000:00000000 00:00000000 00000000 7 0 1\n", "",
                  std::nullopt},
        TableCase{
            "otherPortsAndAddressesDoNot",
            " 0: 0100007F:2254 00000000:0000 0A 00000000:00000000 00:00000000 00000000 7 0 1\n"
            " 1: 0200A8C0:2253 00000000:0000 0A 00000000:00000000 00:00000000 00000000 7 0 1\nnonsense\n",
            "", std::nullopt},
        TableCase{"aStrangerComesBeforeRoot",
                  " 0: 00000000:2253 00000000:0000 0A 00000000:00000000 00:00000000 00000000 7 0 1\n"
                  " 1: 0100007F:2253 00000000:0000 0A 00000000:00000000 00:00000000 00000000 0 0 1\n",
                  "", 7}),
    [](const auto& test) { return std::string(test.param.name); });

/// A program of user `owner` that listens on 127.0.0.1 and takes one connection.
class ForeignListener {
public:
    explicit ForeignListener(uid_t owner) {
        int told[2];
        EXPECT_EQ(::pipe(told), 0);
        process_ = ::fork();
        if (process_ == 0) {
            ::_exit(listen(owner, told[1]));
        }
        ::close(told[1]);
        EXPECT_EQ(::read(told[0], &port_, sizeof port_), static_cast<ssize_t>(sizeof port_));
        ::close(told[0]);
    }
    std::uint16_t port() const { return port_; }
    /// Whether it got nothing from the one who connected.
    bool gotNothing() const {
        int status = 0;
        ::waitpid(process_, &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

private:
    static int listen(uid_t owner, int tell) {
        if (::setuid(owner) != 0) {
            return 2;
        }
        const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* const where = reinterpret_cast<sockaddr*>(&address);
        socklen_t size = sizeof address;
        if (::bind(socket, where, size) != 0 || ::listen(socket, 4) != 0 ||
            ::getsockname(socket, where, &size) != 0) {
            return 3;
        }
        const std::uint16_t port = ntohs(address.sin_port);
        static_cast<void>(!::write(tell, &port, sizeof port));
        const int client = ::accept(socket, nullptr, nullptr);
        char byte = 0;
        return ::recv(client, &byte, 1, 0) == 0 ? 0 : 1;
    }

    pid_t process_ = -1;
    std::uint16_t port_ = 0;
};

TEST(ListenerOwner, NothingIsSentToAnotherUsersProgram) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can start a program of another user";
    }
    const ForeignListener foreign(stranger);
    asio::io_context context{1};
    NetworkContext network{context.get_executor(), Clock::system(), {}, TlsTrust::system()};
    network.mayUse = [](const Url& url) { return checkListenerIsOurs(url.portOrDefault()); };
    HttpRequest request;
    request.url = Url::parse("http://127.0.0.1:" + std::to_string(foreign.port()) + "/").value();
    request.headers = {{"Authorization", "Bearer secret"}};
    const auto answer = test::runTask(context, HttpSession::make(network)->send(std::move(request)));
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.error().kind, ErrorKind::unavailable);
    EXPECT_THAT(answer.error().description, testing::HasSubstr("another user of this machine"));
    EXPECT_TRUE(foreign.gotNothing());
}

}  // namespace
}  // namespace tarn
