#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tarn::bench {

/// A file's sound. Throws where it cannot be read.
std::vector<float> soundOf(const std::string& path, double rate);

/// The packaged programs that speak, and the folder that they write to. Throws where one fails.
class VoicePrograms {
public:
    VoicePrograms();
    ~VoicePrograms();
    VoicePrograms(const VoicePrograms&) = delete;
    VoicePrograms& operator=(const VoicePrograms&) = delete;

    // `text`: without quotation marks.
    std::vector<float> flite(const std::string& voice, const std::string& text, double rate) const;
    std::vector<float> spanish(const std::string& text, double rate) const;  ///< eSpeak NG

private:
    std::vector<float> spokenBy(const std::string& command, double rate) const;

    std::filesystem::path folder_;
    std::filesystem::path file_;
};

}  // namespace tarn::bench
