#include "AudioServerError.h"

namespace tarn {

std::unexpected<Error> audioServerAbsent() {
    return failure(ErrorKind::unavailable, "the audio server (PipeWire) is not running");
}

std::unexpected<Error> audioServerSilent() {
    return failure(ErrorKind::timeout, "the audio server (PipeWire) does not answer");
}

std::unexpected<Error> sessionManagerAbsent() {
    return failure(ErrorKind::unavailable,
                   "the audio server's session manager (WirePlumber) is not running or does not answer");
}

}  // namespace tarn
