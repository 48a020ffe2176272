#pragma once

#include <string>
#include <vector>

namespace tarn {

/// What the program was started for.
struct Arguments {
    enum class Task : unsigned char {
        window,   ///< no arguments: the application itself
        service,  ///< "--service": the session bus started it to be given links
        links,    ///< the user, or the desktop, opened addresses of ours
        doctor,   ///< "doctor" or "doctor --json": to look for faults in its surroundings
        wrong,    ///< something else
    };

    Task task = Task::wrong;
    std::vector<std::string> links{};  ///< of `links`
    bool asJson = false;               ///< of `doctor`
    std::string complaint{};           ///< of `wrong`: one line, which repeats nothing of the arguments
};

/// Parses the arguments, without the program's name.
Arguments readArguments(const std::vector<std::string>& words);

}  // namespace tarn
