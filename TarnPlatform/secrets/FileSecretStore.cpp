#include "FileSecretStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "TarnPlatform/base/AtomicFile.h"
#include "TarnPlatform/base/UniqueDescriptor.h"

namespace tarn {
namespace {

std::unexpected<SecretError> refused(std::string description) {
    return std::unexpected(SecretError{SecretFault::refused, std::move(description)});
}

std::unexpected<SecretError> systemFailure(const std::string& what, const std::filesystem::path& path) {
    return refused("could not " + what + " " + path.string() + ": " + std::generic_category().message(errno));
}

/// Service and account as one file name. All bytes outside a plain set are written as %XX, so that no key can
/// lead out of the folder.
std::string fileName(const SecretKey& key) {
    static constexpr std::string_view plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-";
    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::string name;
    for (const char character : key.service + "." + key.account) {
        if (plain.contains(character)) {
            name.push_back(character);
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        name.push_back('%');
        name.push_back(digits[byte >> 4U]);
        name.push_back(digits[byte & 0xFU]);
    }
    return name;
}

SecretResult<UniqueDescriptor> openFolder(const std::filesystem::path& folder) {
    auto opened = openPrivateFolder(folder);
    if (!opened) {
        return refused(std::move(opened.error().description));
    }
    return std::move(*opened);
}

SecretResult<std::string> readAll(int descriptor, const std::filesystem::path& path) {
    std::string bytes(FileSecretStore::maxSecretBytes + 1, '\0');
    std::size_t size = 0;
    while (size < bytes.size()) {
        const auto got = ::read(descriptor, bytes.data() + size, bytes.size() - size);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return systemFailure("read", path);
        }
        if (got == 0) {
            break;
        }
        size += static_cast<std::size_t>(got);
    }
    const bool fits = size <= FileSecretStore::maxSecretBytes;
    std::string result(bytes, 0, size);
    // The buffer held the secret, and would go back to the heap with it.
    ::explicit_bzero(bytes.data(), bytes.size());
    if (!fits) {
        return refused(path.string() + " is too long to be a secret");
    }
    return result;
}

}  // namespace

FileSecretStore::FileSecretStore(std::filesystem::path folder) : folder_(std::move(folder)) {}

std::filesystem::path FileSecretStore::pathOf(const SecretKey& key) const {
    return folder_ / fileName(key);
}

SecretResult<std::optional<std::string>> FileSecretStore::get(const SecretKey& key) {
    const auto folder = openFolder(folder_);
    if (!folder) {
        return std::unexpected(folder.error());
    }
    if (!*folder) {
        return std::nullopt;
    }
    const auto path = pathOf(key);
    // O_NONBLOCK: a pipe planted under the name must not hold the caller.
    const UniqueDescriptor file(
        ::openat(folder->get(), fileName(key).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        if (errno == ELOOP) {
            return refused(path.string() + " is a symbolic link and is not followed");
        }
        return systemFailure("open", path);
    }
    struct stat status{};
    if (::fstat(file.get(), &status) != 0) {
        return systemFailure("examine", path);
    }
    if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) {
        return refused(path.string() + " is not a file of this user");
    }
    if ((status.st_mode & 077U) != 0) {
        return refused(path.string() +
                       " can be read by others and is not used; sign in again, or close it with chmod 600");
    }
    auto bytes = readAll(file.get(), path);
    if (!bytes) {
        return std::unexpected(bytes.error());
    }
    return std::optional<std::string>(std::move(*bytes));
}

SecretResult<void> FileSecretStore::replace(const SecretKey& key, std::string_view value) {
    if (value.size() > maxSecretBytes) {
        return refused("the secret is too long to be stored");
    }
    if (auto made = makePrivateFolder(folder_); !made) {
        return refused(std::move(made.error().description));
    }
    const auto folder = openFolder(folder_);
    if (!folder) {
        return std::unexpected(folder.error());
    }
    const auto path = pathOf(key);
    if (!*folder) {
        errno = ENOENT;
        return systemFailure("open the folder of", path);
    }
    if (auto written = replaceFileIn(folder->get(), path, value); !written) {
        return refused(std::move(written.error().description));
    }
    return {};
}

SecretResult<bool> FileSecretStore::remove(const SecretKey& key) {
    const auto folder = openFolder(folder_);
    if (!folder) {
        return std::unexpected(folder.error());
    }
    if (!*folder) {
        return false;
    }
    if (::unlinkat(folder->get(), fileName(key).c_str(), 0) != 0) {
        if (errno == ENOENT) {
            return false;
        }
        return systemFailure("remove", pathOf(key));
    }
    ::fsync(folder->get());  // so that a crash does not bring the secret back
    return true;
}

}  // namespace tarn
