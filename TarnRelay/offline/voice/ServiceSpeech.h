#pragma once

#include <cstddef>
#include <vector>

#include "Synthesiser.h"
#include "TarnPlatform/base/Result.h"

namespace tarn::relay {

/// Converts speech to the form in which clients receive it: signed 16-bit little-endian, 24 kHz, mono. Fails
/// with `invalidInput` for a rate that cannot be converted.
Result<std::vector<std::byte>> toServiceSpeech(const Speech& speech);

}  // namespace tarn::relay
