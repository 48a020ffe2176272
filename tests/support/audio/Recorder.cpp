#include "Recorder.h"

#include <signal.h>

#include <stdexcept>
#include <system_error>

#include "Until.h"

namespace tarn::test {
namespace {

constexpr unsigned rate = 48000;

}  // namespace

Recorder::Recorder(PrivateAudioServer& server, const std::string& device, From from, unsigned channels)
    : file_(server.newFile(".wav")),
      nodeName_(server.newNodeName()),
      channels_(channels),
      program_(server.run({"pw-cat", "--record", "--properties",
                           "{ node.name = \"" + nodeName_ + "\" stream.capture.sink = " +
                               (from == From::monitor ? "true" : "false") + " }",
                           "--format", "f32", "--rate", std::to_string(rate), "--channels",
                           std::to_string(channels), "--target", device, file_})) {
    until("recorder of " + device, [&] {
        if (!program_.isRunning()) {
            throw std::runtime_error("the recorder ended; it said: " + program_.output());
        }
        return server.answer({"pw-link", "-l"}).value_or("").contains("|-> " + nodeName_ + ":input_");
    });
}

void Recorder::waitFor(double seconds) {
    until("recorded sound", [&] {
        std::error_code none;
        const auto size = std::filesystem::file_size(file_, none);
        return !none && static_cast<double>(size) > seconds * rate * channels_ * sizeof(float) + 100;
    });
}

Sound Recorder::stop() {
    // Interrupted it completes the file's header, and exits with 1.
    program_.signal(SIGINT);
    program_.wait();
    return readSound(file_);
}

}  // namespace tarn::test
