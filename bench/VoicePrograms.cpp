#include "VoicePrograms.h"

#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include "TarnPlatform/audio/RateConverter.h"
#include "TarnPlatform/audio/SoundFile.h"

namespace tarn::bench {

std::vector<float> soundOf(const std::string& path, double rate) {
    auto reader = SoundFileReader::open(path);
    if (!reader) {
        throw std::runtime_error(reader.error().description);
    }
    auto converter = RateConverter::make(reader->format().sampleRate, rate).value();
    std::vector<float> samples;
    std::vector<float> part(1 << 16);
    while (true) {
        const auto buffer = reader->read(16384).value();
        if (buffer.frameLength() == 0) {
            return samples;
        }
        converter.write({buffer.floatChannelData(), buffer.frameLength()});
        while (const auto count = converter.read(part)) {
            samples.insert(samples.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(count));
        }
    }
}

VoicePrograms::VoicePrograms() {
    std::string pattern = std::filesystem::temp_directory_path() / "voice-programs-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot make a temporary folder");
    }
    folder_ = pattern;
    file_ = folder_ / "voice.wav";
}

VoicePrograms::~VoicePrograms() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::vector<float> VoicePrograms::flite(const std::string& voice, const std::string& text,
                                        double rate) const {
    return spokenBy("flite -voice " + voice + " -t '" + text + "' -o " + file_.string(), rate);
}

std::vector<float> VoicePrograms::spanish(const std::string& text, double rate) const {
    return spokenBy("espeak-ng -v es -s 170 -w " + file_.string() + " '" + text + "'", rate);
}

std::vector<float> VoicePrograms::spokenBy(const std::string& command, double rate) const {
    // The commands are made of the benchmarks' own constants.
    if (std::system(command.c_str()) != 0) {  // NOLINT(bugprone-command-processor,cert-env33-c)
        throw std::runtime_error("failed: " + command);
    }
    return soundOf(file_, rate);
}

}  // namespace tarn::bench
