#pragma once

#include <cstdint>

namespace tarn {

/// A language that the interface has texts in.
struct AppLanguage {
    enum Value : std::uint8_t {
        en,
        zh,  ///< Simplified Chinese
    };

    /// By the first of the user's preferred languages: Chinese for any Chinese one, English for all others
    /// and where there is none. Read afresh on every call. Thread: any, while no other changes the
    /// environment.
    static Value systemDefault();
};

}  // namespace tarn
