#include "WindowProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "Figures.h"

namespace tarn::bench {
namespace {

namespace fs = std::filesystem;

double now() {
    return std::chrono::duration<double>(SteadyClock::now().time_since_epoch()).count();
}

std::string contents(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

double numberAfter(const std::string& text, const std::string& mark) {
    const auto at = text.find(mark);
    return at == std::string::npos ? 0 : std::strtod(text.c_str() + at + mark.size(), nullptr);
}

}  // namespace

WindowProcess::WindowProcess(const std::vector<std::string>& arguments,
                             const std::map<std::string, std::string>& variables) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    started_ = now();
    pid_ = fork();
    if (pid_ == 0) {
        for (const auto& [name, value] : variables) {
            setenv(name.c_str(), value.c_str(), 1);
        }
        // Every renderer's loop says a line for each frame.
        setenv("QT_LOGGING_RULES", "qt.scenegraph.time.renderloop=true", 1);
        dup2(ends[1], STDERR_FILENO);
        std::vector<char*> words;
        for (const auto& word : arguments) {
            words.push_back(const_cast<char*>(word.c_str()));
        }
        words.push_back(nullptr);
        execv(words[0], words.data());
        _exit(127);
    }
    close(ends[1]);
    log_ = ends[0];
}

WindowProcess::~WindowProcess() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    close(log_);
}

double WindowProcess::firstFrame() {
    std::string said;
    while (true) {
        pollfd wait{log_, POLLIN, 0};
        char buffer[4096];
        if (poll(&wait, 1, 20'000) <= 0) {
            throw std::runtime_error("no frame in 20 s: " + said);
        }
        const auto count = read(log_, buffer, sizeof buffer);
        if (count <= 0) {
            throw std::runtime_error("ended without a frame: " + said);
        }
        said.append(buffer, static_cast<std::size_t>(count));
        if (said.find("rame rendered") != std::string::npos ||
            said.find("syncAndRender") != std::string::npos) {
            const double seconds = now() - started_;
            fcntl(log_, F_SETPIPE_SZ, 1 << 20);  // what is said later must not hold the program
            return seconds;
        }
    }
}

double WindowProcess::proportionalMebibytes() const {
    return numberAfter(contents("/proc/" + std::to_string(pid_) + "/smaps_rollup"), "\nPss:") / 1024;
}

double WindowProcess::processorSeconds() const {
    const auto stat = contents("/proc/" + std::to_string(pid_) + "/stat");
    std::istringstream fields(stat.substr(stat.rfind(')') + 2));
    std::string skipped;
    for (int i = 0; i < 11; ++i) {
        fields >> skipped;
    }
    double user = 0;
    double kernel = 0;
    fields >> user >> kernel;
    return (user + kernel) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

long WindowProcess::wakeUps() const {
    long all = 0;
    for (const auto& task : fs::directory_iterator("/proc/" + std::to_string(pid_) + "/task")) {
        all += static_cast<long>(
            numberAfter(contents(task.path().string() + "/status"), "\nvoluntary_ctxt_switches:"));
    }
    return all;
}

std::map<std::string, std::string> freshUser(const std::string& folder, const std::string& settings) {
    fs::create_directories(folder + "/config/tarn");
    std::ofstream(folder + "/config/tarn/settings.json")
        << R"({"onboarding.done": true, "onboarding.step": "ready", "app.language": "en")"
        << (settings.empty() ? "" : ", ") << settings << "}\n";
    return {{"XDG_CONFIG_HOME", folder + "/config"},
            {"XDG_DATA_HOME", folder + "/data"},
            {"XDG_STATE_HOME", folder + "/state"}};
}

}  // namespace tarn::bench
