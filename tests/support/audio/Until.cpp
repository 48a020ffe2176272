#include "Until.h"

#include <chrono>
#include <stdexcept>
#include <thread>

namespace tarn::test {

void until(const std::string& what, const std::function<bool()>& isSo) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("private audio server: not ready: " + what);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

}  // namespace tarn::test
