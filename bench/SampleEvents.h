#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tarn::bench {

/// Bytes that look like nothing in particular, the same in every run.
std::vector<std::byte> sampleBytes(std::size_t count);

/// Events as the service sends them, as JSON text.
std::string partialTextEvent();                       ///< a sentence in the making
std::string audioDeltaEvent(std::size_t audioBytes);  ///< 4800 bytes are 100 ms
std::string unknownEvent();                           ///< of a type that no client knows

}  // namespace tarn::bench
