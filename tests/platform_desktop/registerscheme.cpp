// Registers the scheme "tarn" for the program it is given, in the home of its environment, and prints what
// came of it: GLib looks for the user's folders once in a process.
#include <iostream>

#include "TarnPlatform/desktop/SchemeRegistration.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    const tarn::SchemeRegistration registration{"tarn", "com.example.probe-links.desktop", "Probe", argv[1]};
    const auto outcome = registration.ensure();
    if (!outcome) {
        std::cout << "failed: " << outcome.error().description << '\n';
        return 1;
    }
    using Outcome = tarn::SchemeRegistration::Outcome;
    std::cout << (*outcome == Outcome::registered ? "registered" : "already handled") << '\n';
    return 0;
}
