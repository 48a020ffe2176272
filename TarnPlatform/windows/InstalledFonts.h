#pragma once

#include <string_view>
#include <vector>

namespace tarn {

/// A script, known by one character of it.
struct FontScript {
    std::string_view name;
    char32_t sample;
};

/// The ones of `scripts` that no installed font covers; all of them where fonts cannot be looked up. Thread:
/// any; waits for the disk.
std::vector<FontScript> scriptsWithoutFont(const std::vector<FontScript>& scripts);

}  // namespace tarn
