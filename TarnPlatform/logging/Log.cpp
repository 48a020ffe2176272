#include "Log.h"

#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <string>

#include "TarnPlatform/text/Printable.h"

namespace tarn {
namespace {

constexpr std::size_t longestLine = std::size_t{64} * 1024;

struct Sink {
    std::mutex mutex;
    std::function<void(std::string_view)> write;
};

Sink& currentSink() {
    // Never destroyed: threads may still log while the process ends.
    static auto* const sink = new Sink;
    return *sink;
}

void writeToStandardError(std::string_view text) {
    while (!text.empty()) {
        const auto written = ::write(STDERR_FILENO, text.data(), text.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return;  // nowhere left to say so
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace

void logLine(std::string_view line) {
    std::string text = printable(line.substr(0, longestLine));
    auto& sink = currentSink();
    const std::lock_guard lock(sink.mutex);
    if (sink.write) {
        sink.write(text);
        return;
    }
    text.push_back('\n');
    writeToStandardError(text);
}

void setLogSink(std::function<void(std::string_view)> write) {
    auto& sink = currentSink();
    const std::lock_guard lock(sink.mutex);
    sink.write = std::move(write);
}

}  // namespace tarn
