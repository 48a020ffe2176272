#pragma once

#include <cstdint>
#include <string>

namespace tarn::relay {

/// The name of an utterance in a stream's events. `utterance`: its number.
inline std::string itemId(std::uint64_t utterance) {
    return "item_" + std::to_string(utterance);
}

}  // namespace tarn::relay
