#include "ListenerOwner.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace tarn {
namespace {

/// The addresses of sockets that can answer a connection to 127.0.0.1, as the kernel writes them: in words of
/// 32 bits, each in the byte order of the machine. They are 127.0.0.1, 0.0.0.0, ::, and the first two as
/// IPv6.
constexpr std::array answering = {
    "0100007F",
    "00000000",
    "00000000000000000000000000000000",
    "0000000000000000FFFF00000100007F",
    "0000000000000000FFFF000000000000",
};
constexpr const char* listening = "0A";

bool isTrusted(uid_t user) {
    return user == 0 || user == ::geteuid();
}

/// The owner in one line of the table, where the line is of a listener on `port` that answers.
std::optional<uid_t> listenerIn(const std::string& line, std::uint16_t port) {
    std::istringstream fields(line);
    std::string slot, local, remote, state, queues, timer, retransmits;
    uid_t user = 0;
    if (!(fields >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> user) ||
        state != listening) {
        return std::nullopt;
    }
    const auto colon = local.find(':');
    if (colon == std::string::npos) {
        return std::nullopt;
    }
    std::uint16_t found = 0;
    std::from_chars(local.data() + colon + 1, local.data() + local.size(), found, 16);
    const auto address = local.substr(0, colon);
    const bool answers = std::ranges::find(answering, address) != answering.end();
    return found == port && answers ? std::optional(user) : std::nullopt;
}

std::string nameOf(uid_t user) {
    std::array<char, 1024> space{};
    passwd entry{};
    passwd* found = nullptr;
    const bool known =
        ::getpwuid_r(user, &entry, space.data(), space.size(), &found) == 0 && found != nullptr;
    return known ? entry.pw_name : "user " + std::to_string(user);
}

}  // namespace

Result<std::optional<uid_t>> ownerOfListener(std::uint16_t port, const std::filesystem::path& tables) {
    std::optional<uid_t> owner;
    bool isTold = false;
    for (const char* const name : {"tcp", "tcp6"}) {
        std::ifstream table(tables / name);
        isTold = isTold || table.is_open();
        for (std::string line; std::getline(table, line);) {
            const auto user = listenerIn(line, port);
            if (user && (!owner || isTrusted(*owner))) {
                owner = user;
            }
        }
    }
    if (!isTold) {
        return failure(ErrorKind::system, "the system does not tell whose programs listen (" +
                                              tables.string() + "/tcp cannot be read)");
    }
    return owner;
}

Result<void> checkListenerIsOurs(std::uint16_t port) {
    const auto owner = ownerOfListener(port);
    if (!owner) {
        return std::unexpected(owner.error());
    }
    if (*owner && !isTrusted(**owner)) {
        return failure(ErrorKind::unavailable,
                       "127.0.0.1:" + std::to_string(port) + " belongs to " + nameOf(**owner) +
                           ", another user of this machine, and gets neither your sign-in nor your sound");
    }
    return {};
}

}  // namespace tarn
