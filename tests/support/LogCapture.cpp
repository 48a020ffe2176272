#include "LogCapture.h"

#include <algorithm>
#include <iterator>

#include "TarnPlatform/base/Log.h"

namespace tarn::test {

LogCapture::LogCapture() : state_(std::make_shared<State>()) {
    setLogSink([state = state_](std::string_view line) {
        const std::lock_guard lock(state->mutex);
        state->lines.emplace_back(line);
    });
}

LogCapture::~LogCapture() {
    setLogSink(nullptr);
}

std::vector<std::string> LogCapture::lines() const {
    const std::lock_guard lock(state_->mutex);
    return state_->lines;
}

std::vector<std::string> LogCapture::lines(const std::string& prefix) const {
    auto all = lines();
    std::erase_if(all, [&](const auto& line) { return !line.starts_with(prefix); });
    return all;
}

}  // namespace tarn::test
