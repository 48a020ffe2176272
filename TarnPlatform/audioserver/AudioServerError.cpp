#include "AudioServerError.h"

namespace tarn {
namespace {

std::unexpected<Error> failed(AudioServerFault fault, ErrorKind kind, const char* description) {
    return std::unexpected(Error{.kind = kind,
                                 .description = description,
                                 .domain = audioServerDomain,
                                 .code = static_cast<int>(fault)});
}

}  // namespace

std::unexpected<Error> audioServerAbsent() {
    return failed(AudioServerFault::absent, ErrorKind::unavailable,
                  "the audio server (PipeWire) is not running");
}

std::unexpected<Error> audioServerSilent() {
    return failed(AudioServerFault::silent, ErrorKind::timeout,
                  "the audio server (PipeWire) does not answer");
}

std::unexpected<Error> sessionManagerAbsent() {
    return failed(AudioServerFault::managerAbsent, ErrorKind::unavailable,
                  "the audio server's session manager (WirePlumber) is not running or does not answer");
}

}  // namespace tarn
