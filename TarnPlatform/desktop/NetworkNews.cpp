#include "NetworkNews.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

namespace tarn {
namespace {

bool isLinkLocal(const rtmsg& route, const unsigned char* destination) {
    return route.rtm_family == AF_INET6 && route.rtm_dst_len >= 10 && destination[0] == 0xfe &&
           (destination[1] & 0xc0U) == 0x80U;
}

/// Whether a route leads to other machines: every link has one to its own neighbours, which says nothing.
bool leadsAway(const nlmsghdr* message) {
    const auto& route = *static_cast<const rtmsg*>(NLMSG_DATA(message));
    if (route.rtm_type != RTN_UNICAST || (route.rtm_flags & RTM_F_CLONED) != 0) {
        return false;
    }
    auto length = static_cast<int>(RTM_PAYLOAD(message));
    for (const auto* part = RTM_RTA(&route); RTA_OK(part, length); part = RTA_NEXT(part, length)) {
        if (part->rta_type == RTA_DST && RTA_PAYLOAD(part) >= 4 &&
            isLinkLocal(route, static_cast<const unsigned char*>(RTA_DATA(part)))) {
            return false;
        }
    }
    return true;
}

}  // namespace

NetworkNews::NetworkNews()
    : socket_(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE)) {
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
    if (::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        socket_ = UniqueDescriptor();
        return;
    }
    // The links as they are now, since only a change of them is news.
    struct {
        nlmsghdr header;
        ifinfomsg link;
    } request{};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = RTM_GETLINK;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    ::send(socket_.get(), &request, sizeof request, 0);
}

bool NetworkNews::read() {
    bool isReturn = false;
    alignas(nlmsghdr) std::array<std::byte, 32768> buffer{};
    for (;;) {
        const auto count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
        if (count < 0 && errno == ENOBUFS) {
            isReturn = true;  // there was more than the socket holds
        } else if (count <= 0) {
            return isReturn;
        }
        auto left = static_cast<unsigned>(count < 0 ? 0 : count);
        for (const auto* message = reinterpret_cast<const nlmsghdr*>(buffer.data()); NLMSG_OK(message, left);
             message = NLMSG_NEXT(message, left)) {
            isReturn = take(message) || isReturn;
        }
    }
}

bool NetworkNews::take(const void* message) {
    const auto* const header = static_cast<const nlmsghdr*>(message);
    switch (header->nlmsg_type) {
        case RTM_NEWROUTE:
            return header->nlmsg_len >= NLMSG_LENGTH(sizeof(rtmsg)) && leadsAway(header);
        case RTM_NEWLINK:
        case RTM_DELLINK:
            return header->nlmsg_len >= NLMSG_LENGTH(sizeof(ifinfomsg)) && takeLink(message);
        default:
            return false;
    }
}

bool NetworkNews::takeLink(const void* message) {
    const auto* const header = static_cast<const nlmsghdr*>(message);
    const auto& link = *static_cast<const ifinfomsg*>(NLMSG_DATA(header));
    if (header->nlmsg_type == RTM_DELLINK) {
        links_.erase(link.ifi_index);
        return false;
    }
    const bool carries = (link.ifi_flags & IFF_RUNNING) != 0 && (link.ifi_flags & IFF_LOOPBACK) == 0;
    // A link that is new leads nowhere before it has a route.
    const auto [known, isNew] = links_.try_emplace(link.ifi_index, carries);
    return !isNew && !std::exchange(known->second, carries) && carries;
}

}  // namespace tarn
