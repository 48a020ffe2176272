#include "AudioServerError.h"

namespace tarn {

std::unexpected<Error> audioServerAbsent() {
    return failure(ErrorKind::unavailable, "the audio server (PipeWire) is not running");
}

std::unexpected<Error> audioServerSilent() {
    return failure(ErrorKind::timeout, "the audio server (PipeWire) does not answer");
}

}  // namespace tarn
