#pragma once

#include <string_view>

#include "TarnPlatform/base/Result.h"
#include "TranslationEngine.h"

namespace tarn::relay {

/// Reads the query of a translate stream ("target=es&source=en&vad_ms=800"), percent-encoded. Items of other
/// names are passed over. Fails with `invalidInput` and a text for the client: no target, a value out of its
/// range, an item given twice, broken percent-encoding.
Result<StreamSettings> parseStreamQuery(std::string_view query);

}  // namespace tarn::relay
