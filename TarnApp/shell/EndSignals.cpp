#include "EndSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace tarn {
namespace {

constexpr std::array endSignals{SIGINT, SIGTERM, SIGHUP};
std::array<int, 2> ends{-1, -1};  // of a pipe, to which the signal handler writes

void handle(int signal) {
    std::signal(signal, SIG_DFL);
    const char one = 1;
    static_cast<void>(!write(ends[1], &one, 1));
}

}  // namespace

EndSignals::EndSignals(std::function<void()> asked) : asked_(std::move(asked)) {
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    notifier_ = std::make_unique<QSocketNotifier>(ends[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] {
        char byte = 0;
        if (read(ends[0], &byte, 1) == 1) {
            asked_();
        }
    });
    for (const int signal : endSignals) {
        std::signal(signal, &handle);
    }
}

EndSignals::~EndSignals() {
    for (const int signal : endSignals) {
        std::signal(signal, SIG_DFL);
    }
    notifier_.reset();
    for (int& end : ends) {
        if (end >= 0) {
            close(end);
        }
        end = -1;
    }
}

}  // namespace tarn
