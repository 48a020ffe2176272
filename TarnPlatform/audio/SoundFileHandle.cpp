#include "SoundFileHandle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

namespace tarn {

SoundFileHandle::~SoundFileHandle() {
    if (sound != nullptr) {
        sf_close(sound);
    }
    if (descriptor >= 0) {
        ::close(descriptor);
    }
}

std::unexpected<Error> soundFileFailure(ErrorKind kind, const std::string& path, const std::string& reason) {
    return failure(kind, path + ": " + reason);
}

std::string soundReason(SNDFILE* sound) {
    std::string text = sf_strerror(sound);
    while (!text.empty() && std::string_view(".\n ").find(text.back()) != std::string_view::npos) {
        text.pop_back();
    }
    return text;
}

Result<std::unique_ptr<SoundFileHandle>> SoundFileHandle::create(const std::string& path, SF_INFO info) {
    const auto failed = [&](ErrorKind kind, const std::string& reason) {
        return soundFileFailure(kind, path, reason);
    };
    // O_TRUNC is left out: the file is emptied only once it is known to be a regular one.
    auto file = std::make_unique<SoundFileHandle>(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600));
    struct stat status{};
    if (file->descriptor < 0 || ::fstat(file->descriptor, &status) != 0) {
        return failed(ErrorKind::system, std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return failed(ErrorKind::invalidInput, "is not a regular file");
    }
    if (::fchmod(file->descriptor, 0600) != 0 || ::ftruncate(file->descriptor, 0) != 0) {
        return failed(ErrorKind::system, std::strerror(errno));
    }
    file->sound = sf_open_fd(file->descriptor, SFM_WRITE, &info, SF_FALSE);
    if (file->sound == nullptr) {
        return failed(ErrorKind::system, "cannot be written (" + soundReason(nullptr) + ")");
    }
    // The header is written at once, too, so that a file that never gets a sample is a sound file all the
    // same.
    sf_command(file->sound, SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    sf_command(file->sound, SFC_UPDATE_HEADER_NOW, nullptr, 0);
    return file;
}

}  // namespace tarn
