#include "HiddenInput.h"

#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <iostream>

namespace tarn::cli {
namespace {

constexpr std::array ending{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// The signal handler may run at any time, so it can use these only.
termios shown;
std::array<struct sigaction, ending.size()> before;

void show() {
    ::tcsetattr(STDIN_FILENO, TCSANOW, &shown);
    for (std::size_t i = 0; i < ending.size(); ++i) {
        ::sigaction(ending[i], &before[i], nullptr);
    }
}

extern "C" void showAndEnd(int signal) {
    show();
    ::raise(signal);
}

}  // namespace

HiddenInput::HiddenInput(const char* prompt) {
    if (::tcgetattr(STDIN_FILENO, &shown) != 0) {
        return;
    }
    struct sigaction handler{};
    handler.sa_handler = showAndEnd;
    for (std::size_t i = 0; i < ending.size(); ++i) {
        ::sigaction(ending[i], &handler, &before[i]);
    }
    termios hidden = shown;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    isHiding_ = ::tcsetattr(STDIN_FILENO, TCSANOW, &hidden) == 0;
    // Whoever sees it may type at once.
    std::cerr << prompt << std::flush;
}

HiddenInput::~HiddenInput() {
    if (isHiding_) {
        show();
        std::cerr << '\n';
    }
}

}  // namespace tarn::cli
