#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "PrivateAudioServer.h"
#include "SoundFiles.h"
#include "support/SessionProgram.h"

namespace tarn::test {

/// Records what a device sounds like, by pw-record: 48 kHz float. It is linked when the constructor returns.
class Recorder {
public:
    enum class From {
        monitor,     ///< of an output: all that is played there
        microphone,  ///< of a source
    };

    /// `server` must outlive the recorder. Throws std::runtime_error.
    Recorder(PrivateAudioServer& server, const std::string& device, From from, unsigned channels = 2);

    void waitFor(double seconds);  ///< until so much is recorded, counted from the start
    Sound stop();                  ///< ends the recording

private:
    std::filesystem::path file_;
    std::string nodeName_;
    unsigned channels_;
    SessionProgram program_;
};

}  // namespace tarn::test
