#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace tarn::relay {

using Samples = std::vector<std::int16_t>;  ///< 16 kHz, mono

inline Samples silence(double seconds) {
    return Samples(static_cast<std::size_t>(seconds * 16000));
}

/// `text` in a clear voice. `text` holds nothing that a shell would mind.
inline Samples spoken(const std::string& text) {
    const auto file =
        std::filesystem::temp_directory_path() / ("tarn-spoken-" + std::to_string(getpid()) + ".wav");
    const auto command = "flite -voice awb -t '" + text + "' -o " + file.string();
    if (std::system(command.c_str()) != 0) {
        ADD_FAILURE() << "flite is needed: " << command;
    }
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), {});
    std::filesystem::remove(file);
    constexpr std::size_t headerBytes = 44;
    Samples samples;
    for (std::size_t i = headerBytes; i + 1 < bytes.size(); i += 2) {
        const auto low = static_cast<unsigned char>(bytes[i]);
        const auto high = static_cast<unsigned char>(bytes[i + 1]);
        samples.push_back(static_cast<std::int16_t>(low | high << 8));
    }
    return samples;
}

inline Samples operator+(Samples first, const Samples& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

}  // namespace tarn::relay
