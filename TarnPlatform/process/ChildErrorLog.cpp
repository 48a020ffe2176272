#include "ChildErrorLog.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr std::size_t kLongestLine = 1000;  ///< longer ones are broken
constexpr std::size_t kPipe = 65536;

void logLines(std::string& text, bool ended) {
    while (!text.empty()) {
        const auto end = text.find('\n');
        if (end == std::string::npos && text.size() < kLongestLine && !ended) {
            return;
        }
        const auto line = std::string_view(text).substr(0, std::min(end, kLongestLine));
        if (!line.empty()) {
            logLine("[command] " + std::string(line));
        }
        text.erase(0, line.size() + (line.size() == end ? 1 : 0));
    }
}

}  // namespace

ChildErrorLog::ChildErrorLog(UniqueDescriptor errors)
    : errors_(std::move(errors)), thread_([this] { run(); }) {}

ChildErrorLog::~ChildErrorLog() {
    stop_.raise();
    thread_.join();
}

void ChildErrorLog::run() const {
    ::fcntl(errors_.get(), F_SETFL, O_NONBLOCK);
    std::string text;
    std::array<char, 4096> buffer{};
    std::array<pollfd, 2> either{{{errors_.get(), POLLIN, 0}, {stop_.descriptor(), POLLIN, 0}}};
    for (bool ended = false; !ended;) {
        ::poll(either.data(), either.size(), -1);
        const bool stopped = stop_.raised();
        // After the stop no more is read than a pipe holds, since a child that writes without end would keep
        // the thread from ending.
        for (std::size_t taken = 0; !ended && taken < kPipe; taken += buffer.size()) {
            const auto count = ::read(errors_.get(), buffer.data(), buffer.size());
            if (count > 0) {
                text.append(buffer.data(), static_cast<std::size_t>(count));
                logLines(text, false);
                continue;
            }
            ended = count == 0 || (errno != EAGAIN && errno != EINTR);
            break;
        }
        ended = ended || stopped;
    }
    logLines(text, true);
}

}  // namespace tarn
