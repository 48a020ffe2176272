#include "TranscriptFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include "TarnPlatform/base/AtomicFile.h"

namespace tarn {
namespace {

/// Returns the reason why not, or 0.
int writeAt(int file, std::uint64_t at, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto written = ::pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(at));
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return written < 0 ? errno : EIO;
        }
        at += static_cast<std::uint64_t>(written);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

std::unexpected<Error> cannotWrite(const std::filesystem::path& path, const std::string& reason) {
    return failure(ErrorKind::system, "cannot write " + path.string() + ": " + reason);
}

}  // namespace

Result<TranscriptFile> TranscriptFile::create(const std::filesystem::path& path,
                                              const TranscriptOptions& options) {
    // O_TRUNC is left out: the file is emptied only once it is known to be a regular one.
    UniqueDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600));
    struct stat status{};
    if (!file || ::fstat(file.get(), &status) != 0) {
        return cannotWrite(path, std::generic_category().message(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return cannotWrite(path, "it is not a regular file");
    }
    if (::fchmod(file.get(), 0600) != 0 || ::ftruncate(file.get(), 0) != 0) {
        return cannotWrite(path, std::generic_category().message(errno));
    }
    TranscriptFile made(path, std::move(file), options);
    if (auto written = made.take(made.transcript_.start()); !written) {
        return std::unexpected(written.error());
    }
    return made;
}

TranscriptFile::TranscriptFile(std::filesystem::path path, UniqueDescriptor file,
                               const TranscriptOptions& options)
    : path_(std::move(path)), file_(std::move(file)), transcript_(options) {}

Result<void> TranscriptFile::add(const Utterance& utterance) {
    return take(transcript_.add(utterance));
}

Result<void> TranscriptFile::close() {
    if (auto written = write(); !written) {
        return written;
    }
    return ::fsync(file_.get()) == 0 ? Result<void>() : failed(errno);
}

Result<void> TranscriptFile::take(const Transcript::Change& change) {
    wanted_.replace(static_cast<std::size_t>(change.keep - at_), std::string::npos, change.bytes);
    auto written = write();
    if (written) {
        wanted_.erase(0, static_cast<std::size_t>(change.settled - at_));
        there_ = wanted_;
        at_ = change.settled;
    }
    return written;
}

/// Makes the end of the file what it should be, or leaves it as it is.
Result<void> TranscriptFile::write() {
    struct stat status{};
    if (::fstat(file_.get(), &status) == 0 && status.st_nlink == 0) {
        return cannotWrite(path_, "it has been removed");
    }
    const auto same = static_cast<std::size_t>(std::ranges::mismatch(there_, wanted_).in1 - there_.begin());
    const auto rest = std::string_view(wanted_).substr(same);
    if (const int reason = writeAt(file_.get(), at_ + same, rest); reason != 0) {
        // What was there has its blocks already.
        writeAt(file_.get(), at_ + same, std::string_view(there_).substr(same));
        return ::ftruncate(file_.get(), static_cast<off_t>(at_ + there_.size())) == 0 ? failed(reason)
                                                                                      : failed(errno);
    }
    there_ = wanted_;
    return {};
}

Result<void> TranscriptFile::failed(int reason) const {
    return cannotWrite(path_, std::generic_category().message(reason));
}

Result<void> saveTranscript(const std::filesystem::path& path, std::span<const Utterance> utterances,
                            const TranscriptOptions& options) {
    return replaceFile(path, writeTranscript(utterances, options));
}

}  // namespace tarn
