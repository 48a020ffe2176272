#include "Log.h"

#include <cstdlib>
#include <mutex>
#include <string>

#include "StandardError.h"
#include "Text.h"

namespace tarn {
namespace {

constexpr std::size_t longestLine = std::size_t{64} * 1024;

struct Sink {
    std::mutex mutex;
    std::function<void(std::string_view)> write;
    std::function<bool(std::string_view)> isLeftOut;
    StandardError standardError;
};

Sink& currentSink();

/// What a reader that has stopped reads after all is worth this long to the end of a program.
void flushAtExit() {
    auto& sink = currentSink();
    const std::lock_guard lock(sink.mutex);
    sink.standardError.flush(std::chrono::seconds(1));
}

Sink& currentSink() {
    // Never destroyed: threads may still log while the process ends.
    static auto* const sink = [] {
        std::atexit(flushAtExit);
        return new Sink;
    }();
    return *sink;
}

}  // namespace

void logLine(std::string_view line) {
    std::string text = printable(line.substr(0, longestLine));
    auto& sink = currentSink();
    const std::lock_guard lock(sink.mutex);
    if (sink.isLeftOut && sink.isLeftOut(text)) {
        return;
    }
    if (sink.write) {
        sink.write(text);
        return;
    }
    text.push_back('\n');
    sink.standardError.write(text);
}

void leaveOutOfLog(std::function<bool(std::string_view)> isLeftOut) {
    auto& sink = currentSink();
    const std::lock_guard lock(sink.mutex);
    sink.isLeftOut = std::move(isLeftOut);
}

void setLogSink(std::function<void(std::string_view)> write) {
    auto& sink = currentSink();
    const std::lock_guard lock(sink.mutex);
    sink.write = std::move(write);
}

}  // namespace tarn
