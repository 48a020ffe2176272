#include "AudioFormat.h"

#include <array>
#include <charconv>

namespace tarn {
namespace {

struct SampleKind {
    const char* name;
    std::size_t bytes;
};

SampleKind kindOf(CommonFormat format) {
    switch (format) {
        case CommonFormat::float32:
            return {"Float32", 4};
        case CommonFormat::float64:
            return {"Float64", 8};
        case CommonFormat::int16:
            return {"Int16", 2};
        case CommonFormat::int32:
            return {"Int32", 4};
        case CommonFormat::other:
            break;
    }
    return {"other", 0};
}

std::string shortest(double value) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return {text.data(), end};
}

}  // namespace

std::size_t AudioFormat::bytesPerSample() const {
    return kindOf(commonFormat).bytes;
}

std::string AudioFormat::description() const {
    return std::to_string(channelCount) + " ch, " + shortest(sampleRate) + " Hz, " +
           kindOf(commonFormat).name + (interleaved ? ", interleaved" : ", planar");
}

}  // namespace tarn
