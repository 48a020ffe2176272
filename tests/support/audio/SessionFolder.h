#pragma once

#include <sys/types.h>

#include <filesystem>

namespace tarn::test {

/// A private folder (mode 0700) for sockets and state. It is removed when its object goes, and also when the
/// process dies before that: a child that outlives it sees to this.
class SessionFolder {
public:
    SessionFolder();  ///< throws std::runtime_error
    ~SessionFolder();
    SessionFolder(const SessionFolder&) = delete;
    SessionFolder& operator=(const SessionFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
    pid_t remover_ = -1;
    int alive_ = -1;  // the end of a pipe: the remover works when it closes
};

}  // namespace tarn::test
