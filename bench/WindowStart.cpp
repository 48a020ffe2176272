// From the start of the program to its first frame, and its memory a moment later, beside a blank window of
// the toolkit in the same run: window_start [pairs] [renderer] Run inside a display and beside an audio
// server: scripts/private-audio scripts/private-display window_start
#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <thread>

#include "Figures.h"
#include "WindowProcess.h"
#include "support/Program.h"

namespace {

using tarn::bench::median;
using tarn::bench::WindowProcess;

struct Figures {
    std::vector<double> seconds;
    std::vector<double> mebibytes;
    std::vector<double> wakeUps;
};

void measure(const std::string& program, const std::map<std::string, std::string>& variables, Figures& into) {
    WindowProcess window({program}, variables);
    into.seconds.push_back(window.firstFrame());
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    into.mebibytes.push_back(window.proportionalMebibytes());
    const long before = window.wakeUps();
    std::this_thread::sleep_for(std::chrono::seconds(3));
    into.wakeUps.push_back(static_cast<double>(window.wakeUps() - before));
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App options("Start and memory of the window");
    int pairs = 9;
    std::string renderer = "software";
    options.add_option("pairs", pairs);
    options.add_option("renderer", renderer);
    CLI11_PARSE(options, argc, argv);

    const auto here = std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
    const tarn::test::TemporaryFolder folder;
    auto variables = tarn::bench::freshUser(folder.path());
    variables["TARN_RENDERER"] = renderer;
    Figures blank;
    Figures ours;
    Figures warmUp;
    measure(here + "/blank_window", variables, warmUp);
    measure(here + "/tarn", variables, warmUp);
    for (int pair = 0; pair < pairs; ++pair) {
        measure(here + "/blank_window", variables, blank);
        measure(here + "/tarn", variables, ours);
    }
    const auto print = [](const char* name, const Figures& figures) {
        std::printf("%-6s first frame %6.1f ms   PSS %5.1f MiB   wake-ups in 3 s %.0f (medians)\n", name,
                    1000 * median(figures.seconds), median(figures.mebibytes), median(figures.wakeUps));
    };
    std::printf("renderer: %s, %d pairs\n", renderer.c_str(), pairs);
    print("blank", blank);
    print("tarn", ours);
    std::printf("ratio of the times %.2f (at most 1.5), memory more %.1f MiB (at most 30)\n",
                median(ours.seconds) / median(blank.seconds),
                median(ours.mebibytes) - median(blank.mebibytes));
    return 0;
}
