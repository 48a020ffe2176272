#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarn::test {

/// Changes to this process's environment that end with the object. Made and destroyed while no other thread
/// looks at the environment.
class PrivateEnvironment {
public:
    PrivateEnvironment() = default;
    ~PrivateEnvironment();
    PrivateEnvironment(const PrivateEnvironment&) = delete;
    PrivateEnvironment& operator=(const PrivateEnvironment&) = delete;

    void set(const std::string& name, const std::optional<std::string>& value);  ///< nothing: removed

private:
    std::vector<std::pair<std::string, std::optional<std::string>>> before_;
};

/// The environment of this process as a program gets it ("NAME=value"), with a few variables changed.
std::vector<std::string> environmentWith(const std::vector<std::pair<std::string, std::string>>& changed);

}  // namespace tarn::test
