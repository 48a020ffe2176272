// The kernel's own news in a network namespace of the test's, and a stand-in for logind on a private bus.
#include "TarnPlatform/desktop/NetworkReturn.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/if_tun.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <cstdlib>
#include <future>
#include <thread>

#include "TarnPlatform/base/UniqueDescriptor.h"
#include "support/Program.h"
#include "support/keyring/PrivateKeyring.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;

class NetworkReturnTest : public testing::Test {
protected:
    NetworkReturn::Listener listen() {
        return watch_.listen(context_.get_executor(), [this] { ++told_; });
    }
    /// Whether it is told within `limit`; forgets how often.
    bool isTold(std::chrono::seconds limit = 20s) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (told_ == 0 && std::chrono::steady_clock::now() < deadline) {
            context_.run_one_until(deadline);
        }
        return std::exchange(told_, 0) > 0;
    }

    asio::io_context context_{1};
    asio::executor_work_guard<asio::io_context::executor_type> work_ = asio::make_work_guard(context_);
    int told_ = 0;
    NetworkReturn watch_;
};

bool ip(std::vector<std::string> words) {
    words.insert(words.begin(), "ip");
    return test::Program({.arguments = std::move(words)}).wait() == 0;
}

/// A link, which carries as long as somebody has it open.
UniqueDescriptor openLink(const char* name) {
    UniqueDescriptor link(::open("/dev/net/tun", O_RDWR | O_CLOEXEC));
    ifreq request{};
    request.ifr_flags = IFF_TUN | IFF_NO_PI;
    std::snprintf(request.ifr_name, sizeof request.ifr_name, "%s", name);
    return link && ::ioctl(link.get(), TUNSETIFF, &request) == 0 ? std::move(link) : UniqueDescriptor();
}

void waitForLoss(int links) {
    struct {
        nlmsghdr header;
        ifinfomsg link;
        char more[4096];
    } news{};
    do {
        pollfd ready{links, POLLIN, 0};
        ASSERT_EQ(::poll(&ready, 1, 20000), 1);
        ASSERT_GT(::recv(links, &news, sizeof news, 0), 0);
    } while ((news.link.ifi_flags & IFF_RUNNING) != 0);
}

TEST_F(NetworkReturnTest, TellsOfRoutesAndOfLinksThatCarryAgain) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere",
           1);  // less is told without it, and no less of this
    // A thread's namespace is its own, and that of the threads that it starts.
    const auto tried =
        std::async(std::launch::async, [this]() -> std::string {
            if (::unshare(CLONE_NEWNET) != 0 || !ip({"tuntap", "add", "far", "mode", "tun"})) {
                return "no network namespace, or no link in it";
            }
            const auto listener = listen();
            EXPECT_TRUE(ip({"address", "add", "10.9.9.2/24", "dev", "far"}));
            UniqueDescriptor link = openLink("far");
            EXPECT_TRUE(ip({"link", "set", "far", "up"}));
            EXPECT_TRUE(isTold()) << "the route to the link's own network";
            EXPECT_TRUE(ip({"route", "add", "default", "via", "10.9.9.1"}));
            EXPECT_TRUE(isTold());
            const UniqueDescriptor links(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
            sockaddr_nl address{AF_NETLINK, 0, 0, RTMGRP_LINK};
            EXPECT_EQ(::bind(links.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
            link.reset();
            waitForLoss(links.get());
            context_.poll();
            told_ = 0;
            link = openLink("far");
            EXPECT_TRUE(isTold()) << "the link carries again";
            return "";
        }).get();
    if (!tried.empty()) {
        GTEST_SKIP() << tried;
    }
}

TEST_F(NetworkReturnTest, TellsWhenTheMachineWakes) {
    const test::PrivateKeyring bus(test::PrivateKeyring::Mode::absent);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", std::getenv("DBUS_SESSION_BUS_ADDRESS"), 1);
    constexpr const char* path = "/org/freedesktop/login1";
    const test::BusStandIn logind("org.freedesktop.login1", path,
                                  R"(<node><interface name="org.freedesktop.login1.Manager"/></node>)",
                                  [](const auto&, auto*, const auto&) { return nullptr; });
    const auto sleep = [&](bool begins) {
        logind.emit(path, "org.freedesktop.login1.Manager", "PrepareForSleep", g_variant_new("(b)", begins));
    };
    auto listener = listen();
    int others = 0;
    const auto other = watch_.listen(context_.get_executor(), [&others] { ++others; });
    for (int attempt = 0; attempt < 100 && others == 0; ++attempt) {  // until it is connected
        sleep(true);
        sleep(false);
        isTold(1s);
    }
    ASSERT_GT(others, 0);
    others = 0;
    for (int times = 0; times < 5; ++times) {
        sleep(true);
    }
    sleep(false);
    EXPECT_TRUE(isTold());
    context_.poll();
    EXPECT_GT(others, 0) << "all are told that listen";
    EXPECT_LT(others, 5) << "nobody is told that it falls asleep";
    listener.reset();
    told_ = others = 0;
    sleep(false);
    while (others == 0) {
        context_.run_one();
    }
    EXPECT_EQ(told_, 0) << "nobody listens any more";
}

}  // namespace
}  // namespace tarn
