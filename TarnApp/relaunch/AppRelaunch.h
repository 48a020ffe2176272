#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

/// Restarts the application, for what is given to new processes only. Thread: main.
class AppRelaunch {
public:
    AppRelaunch() = delete;

    /// What it needs of its surroundings. A test puts its own in place.
    struct Surroundings {
        std::string bundlePath;
        std::string program;  ///< the executable's path; what starts anew where there is no bundle
        /// Starts a program, named first by its path, that goes on when this process ends.
        std::function<Result<void>(const std::vector<std::string>& arguments)> start;
        SerialExecutor main;
        std::shared_ptr<Clock> clock;
        std::function<void()> terminate;  ///< ends the application; called on `main`

        /// The desktop's own, with `main` as the main thread.
        static Surroundings real(SerialExecutor main, std::function<void()> terminate);
    };

    /// Said once, when the application starts.
    static void use(Surroundings surroundings);

    /// Starts the application anew as soon as this process is gone, and ends this one 0.2 s from now, so that
    /// the caller can finish its work: its bundle (a folder "….app") where it runs from one, and its
    /// executable elsewhere, without the arguments that it had. Those are links, which have been carried out
    /// and may hold a token. False, and nothing happens, where its successor cannot be started, which the
    /// system's log is told, where nobody knows the executable, and before `use`.
    static bool relaunch();

    /// What the shell is told: to wait for the end of `process`, and then to carry out `opener` ("exec", …)
    /// with the path.
    static std::string script(pid_t process, std::string_view opener, std::string_view path);

    /// The folder "….app" that `executable` lies in, two folders deep at most; its own folder where there is
    /// none.
    static std::string bundlePathOf(const std::string& executable);
};

}  // namespace tarn
