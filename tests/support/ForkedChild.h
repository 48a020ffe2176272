#pragma once

#include <functional>
#include <string>

namespace tarn::test {

/// A copy of this process that runs `body` and ends with `_exit`. Made while no other thread runs.
class ForkedChild {
public:
    explicit ForkedChild(const std::function<std::string()>& body);
    /// Waits for its end.
    ~ForkedChild();
    ForkedChild(const ForkedChild&) = delete;
    ForkedChild& operator=(const ForkedChild&) = delete;

    /// What `body` returned, or how the child ended instead.
    std::string result();

private:
    int process_ = -1;
    int output_ = -1;
};

/// Becomes a user whom file permissions bind, where this process is one whom they do not.
void dropPrivileges();

}  // namespace tarn::test
