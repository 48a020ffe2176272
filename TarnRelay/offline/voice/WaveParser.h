#pragma once

#include <string_view>

#include "Synthesiser.h"
#include "TarnPlatform/base/Result.h"

namespace tarn::relay {

/// Reads a WAV stream of 16-bit mono PCM as programs write it to a pipe: the sizes in its head are ignored
/// where they promise more than there is. Fails with `protocol` for anything else.
Result<Speech> parseWave(std::string_view bytes);

}  // namespace tarn::relay
