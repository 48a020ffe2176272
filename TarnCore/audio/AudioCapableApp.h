#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace tarn {

/// An application that can be chosen as a source. Value type; its identity is `bundleID`.
struct AudioCapableApp {
    std::string bundleID;  ///< never empty
    std::string name;      ///< for people, never empty

    const std::string& id() const { return bundleID; }

    bool operator==(const AudioCapableApp&) const = default;
};

}  // namespace tarn

template <>
struct std::hash<tarn::AudioCapableApp> {
    std::size_t operator()(const tarn::AudioCapableApp& app) const noexcept {
        const std::hash<std::string> textHash;
        return textHash(app.bundleID) * 31 + textHash(app.name);
    }
};
