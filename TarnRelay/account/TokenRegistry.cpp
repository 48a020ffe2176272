#include "TokenRegistry.h"

#include <fcntl.h>
#include <openssl/crypto.h>
#include <openssl/rand.h>
#include <openssl/sha.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/json.hpp>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>

#include "EmailAddress.h"
#include "TarnPlatform/base/AtomicFile.h"
#include "TarnPlatform/base/FileLock.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/UniqueDescriptor.h"
#include "TarnPlatform/base/UserFolders.h"
#include "TarnPlatform/net/Base64.h"

namespace tarn::relay {
namespace {

namespace json = boost::json;

constexpr std::chrono::seconds lockLimit{5};
constexpr std::size_t maxFileBytes = 16UZ * 1024 * 1024;
constexpr std::ptrdiff_t maxTokensOfAddress = 32;  ///< without a limit the file would grow for ever

std::unexpected<Error> systemFailure(std::string_view what, const std::filesystem::path& path) {
    const auto reason = std::generic_category().message(errno);
    return failure(ErrorKind::system, std::string(what) + " " + path.string() + ": " + reason);
}

/// Fails where others could have written to `path`, whose status is `status`.
Result<void> checkOurs(const struct stat& status, const std::filesystem::path& path) {
    if (status.st_uid != ::geteuid()) {
        return failure(ErrorKind::system,
                       path.string() + " belongs to another user: its tokens are not trusted");
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return failure(ErrorKind::system, path.string() +
                                              " can be changed by other users: its tokens are not "
                                              "trusted (\"chmod go-w\" ends that)");
    }
    return {};
}

TokenHash hashOf(std::string_view text) {
    TokenHash hash{};
    ::SHA256(reinterpret_cast<const unsigned char*>(text.data()), text.size(), hash.data());
    return hash;
}

std::string hexOf(std::span<const unsigned char> bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const auto byte : bytes) {
        text.push_back(digits[byte >> 4]);
        text.push_back(digits[byte & 15]);
    }
    return text;
}

std::optional<TokenHash> hashFromHex(std::string_view text) {
    TokenHash hash{};
    if (text.size() != 2 * hash.size()) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool isDigit = c >= '0' && c <= '9';
        if (!isDigit && (c < 'a' || c > 'f')) {
            return std::nullopt;
        }
        const int value = isDigit ? c - '0' : c - 'a' + 10;
        hash[i / 2] = static_cast<unsigned char>(hash[i / 2] << 4 | value);
    }
    return hash;
}

std::string nowText() {
    const auto now = std::time(nullptr);
    std::tm parts{};
    ::gmtime_r(&now, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

/// The text field of an object, or nothing.
const json::string* textField(const json::object& object, std::string_view name) {
    const auto* value = object.if_contains(name);
    return value == nullptr ? nullptr : value->if_string();
}

}  // namespace

Result<std::string> randomSecret() {
    std::array<unsigned char, 32> bits{};
    if (::RAND_bytes(bits.data(), static_cast<int>(bits.size())) != 1) {
        return failure(ErrorKind::system, "the system gives no random numbers");
    }
    auto text = base64Encode(std::as_bytes(std::span(bits)));
    std::ranges::replace(text, '+', '-');
    std::ranges::replace(text, '/', '_');
    text.erase(text.find('='));
    return text;
}

TokenRegistry::TokenRegistry(std::filesystem::path folder) : folder_(std::move(folder)) {}

std::filesystem::path TokenRegistry::defaultFolder() {
    return UserFolders::state() / UserFolders::ownName / "relay";
}

Result<std::string> TokenRegistry::issue(const std::string& email) const {
    if (!isEmailAddress(email)) {
        return failure(ErrorKind::invalidInput,
                       "an e-mail address is like name@example.org, in ASCII and of 254 bytes at most");
    }
    auto token = randomSecret();
    if (!token) {
        return token;
    }
    const auto changed = change([&](std::vector<Entry>& entries) {
        entries.push_back({hashOf(*token), email, nowText()});
        // Entries are in the order of their issue, so the first ones of the address are its oldest.
        auto surplus = std::ranges::count(entries, email, &Entry::email) - maxTokensOfAddress;
        std::erase_if(entries, [&](const Entry& entry) { return entry.email == email && surplus-- > 0; });
    });
    if (!changed) {
        return std::unexpected(changed.error());
    }
    return token;
}

Result<std::size_t> TokenRegistry::revoke(const std::string& email) const {
    std::size_t ended = 0;
    const auto changed = change([&](std::vector<Entry>& entries) {
        ended = std::erase_if(entries, [&](const Entry& entry) { return entry.email == email; });
    });
    if (!changed) {
        return std::unexpected(changed.error());
    }
    return ended;
}

Result<void> TokenRegistry::revokeToken(const TokenHash& token) const {
    return change([&](std::vector<Entry>& entries) {
        std::erase_if(entries, [&](const Entry& entry) { return entry.hash == token; });
    });
}

Result<std::vector<TokenRegistry::Issued>> TokenRegistry::list() const {
    Version version;
    const auto entries = read(version);
    if (!entries) {
        return std::unexpected(entries.error());
    }
    std::vector<Issued> issued;
    issued.reserve(entries->size());
    for (const auto& entry : *entries) {
        issued.push_back({entry.email, entry.issued});
    }
    return issued;
}

Result<bool> TokenRegistry::refresh() {
    struct stat status{};
    Version now;
    if (::stat(file().c_str(), &status) == 0) {
        now = {status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_size};
    }
    if (version_ == now) {
        return false;
    }
    Version version;
    auto entries = read(version);
    if (!entries) {
        return std::unexpected(entries.error());
    }
    entries_ = std::move(*entries);
    version_ = version;
    return true;
}

std::optional<Account> TokenRegistry::find(const std::string& token) const {
    // A plain hash is enough for 256 random bits: there is no dictionary of them to try. The loop does not
    // end at the match, which would tell its place.
    const auto hash = hashOf(token);
    const Entry* found = nullptr;
    for (const auto& entry : entries_) {
        if (::CRYPTO_memcmp(entry.hash.data(), hash.data(), hash.size()) == 0) {
            found = &entry;
        }
    }
    return found == nullptr ? std::nullopt : std::optional(accountOf(*found));
}

bool TokenRegistry::holds(const TokenHash& token) const {
    return std::ranges::any_of(entries_, [&](const Entry& entry) { return entry.hash == token; });
}

Task<void> TokenRegistry::watch(std::function<void()> changed) const {
    constexpr auto events =
        IN_MOVED_TO | IN_MOVED_FROM | IN_CLOSE_WRITE | IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF;
    const auto executor = co_await asio::this_coro::executor;
    asio::posix::stream_descriptor stream(executor);
    const int inotify = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (inotify >= 0) {
        stream.assign(inotify);
    }
    std::array<char, 4096> buffer{};
    for (;;) {
        // The watch is added anew each time, because a folder that was moved or deleted takes its watch
        // along.
        if (!makePrivateFolder(folder_) || ::inotify_add_watch(inotify, folder_.c_str(), events) < 0) {
            logLine("[relay] " + folder_.string() +
                    " cannot be watched: revoked tokens keep their open streams");
            co_return;
        }
        const auto [error, count] = co_await stream.async_read_some(asio::buffer(buffer), asValue);
        if (error) {
            co_return;
        }
        // The events themselves are not read: `refresh` finds out whether the file has changed.
        changed();
    }
}

Result<std::vector<TokenRegistry::Entry>> TokenRegistry::read(Version& version) const {
    const auto path = file();
    // Opening must not wait for a writer, should somebody have put a pipe there.
    const UniqueDescriptor input(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!input && errno == ENOENT) {
        version = {};
        return {};
    }
    struct stat status{};
    if (!input || ::fstat(input.get(), &status) != 0) {
        return systemFailure("cannot read", path);
    }
    // The folder counts as much as the file: its owner could put another file there.
    const auto folderOurs = checkFolder();
    const auto ours = folderOurs ? checkOurs(status, path) : folderOurs;
    if (!ours) {
        return std::unexpected(ours.error());
    }
    version = {status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_size};
    const auto damaged = [&path] {
        return failure(
            ErrorKind::system,
            path.string() + " is not a list of tokens; repair it, or move it away and issue new tokens");
    };
    if (!S_ISREG(status.st_mode) || static_cast<std::size_t>(status.st_size) > maxFileBytes) {
        return damaged();
    }
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t length = 0;
    while (length < text.size()) {
        const auto count = ::read(input.get(), text.data() + length, text.size() - length);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return systemFailure("cannot read", path);
        }
        if (count == 0) {
            break;
        }
        length += static_cast<std::size_t>(count);
    }
    boost::system::error_code error;
    const auto parsed = json::parse(std::string_view(text).substr(0, length), error);
    const auto* root = error ? nullptr : parsed.if_object();
    const auto* list = root == nullptr ? nullptr : root->if_contains("tokens");
    if (list == nullptr || !list->is_array()) {
        return damaged();
    }
    std::vector<Entry> entries;
    for (const auto& item : list->get_array()) {
        const auto* object = item.if_object();
        const auto* hash = object == nullptr ? nullptr : textField(*object, "sha256");
        const auto* email = object == nullptr ? nullptr : textField(*object, "email");
        const auto* issued = object == nullptr ? nullptr : textField(*object, "issued");
        const auto bytes = hash == nullptr ? std::nullopt : hashFromHex(*hash);
        if (!bytes || email == nullptr || issued == nullptr) {
            return damaged();
        }
        entries.push_back({*bytes, std::string(*email), std::string(*issued)});
    }
    return entries;
}

Result<void> TokenRegistry::write(const std::vector<Entry>& entries) const {
    json::array list;
    for (const auto& entry : entries) {
        list.push_back({{"sha256", hexOf(entry.hash)}, {"email", entry.email}, {"issued", entry.issued}});
    }
    const auto text = json::serialize(json::object{{"tokens", std::move(list)}}) + "\n";
    if (text.size() > maxFileBytes) {
        return failure(ErrorKind::system, file().string() + " is full: end tokens that are not needed");
    }
    return replaceFile(file(), text);
}

Result<void> TokenRegistry::change(const std::function<void(std::vector<Entry>&)>& edit) const {
    const auto made = makePrivateFolder(folder_);
    const auto ours = made ? checkFolder() : made;
    if (!ours) {
        return ours;
    }
    const auto lock = lockFile(folder_ / "tokens.lock", lockLimit);
    if (!lock) {
        return std::unexpected(lock.error());
    }
    removeUnfinished(file());
    Version version;
    auto entries = read(version);
    if (!entries) {
        return std::unexpected(entries.error());
    }
    const auto before = *entries;
    edit(*entries);
    // A file that would stay the same is left alone: writing it would wake every running relay.
    return *entries == before ? Result<void>() : write(*entries);
}

Result<void> TokenRegistry::checkFolder() const {
    struct stat status{};
    if (::stat(folder_.c_str(), &status) != 0) {
        return systemFailure("cannot read", folder_);
    }
    return checkOurs(status, folder_);
}

Account TokenRegistry::accountOf(const Entry& entry) {
    // The identifier follows from the address, so that the user stays the same after their tokens were ended
    // and new ones issued.
    const auto hash = hashOf("tarn user " + entry.email);
    return {hexOf(std::span(hash).first(16)), entry.email, entry.hash};
}

}  // namespace tarn::relay
