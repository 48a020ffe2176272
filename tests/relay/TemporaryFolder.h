#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace tarn::test {

/// An empty folder that is removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string path = (std::filesystem::temp_directory_path() / "tarn-test-XXXXXX").string();
        path_ = ::mkdtemp(path.data()) == nullptr ? std::filesystem::path() : std::filesystem::path(path);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace tarn::test
