#pragma once

#include <memory>
#include <string>

namespace tarn {

/// Opens an address with the program that the desktop has for it. Thread: any.
class UrlOpener {
public:
    virtual ~UrlOpener() = default;

    /// An address, or the absolute path of a file. Returns once the program has been asked for. False where
    /// the desktop has none for this address, or none would start.
    virtual bool open(const std::string& url) = 0;

    /// The desktop's own. An address of the scheme "x-apple.systempreferences" leads to the desktop's
    /// settings of sound, which is where this desktop keeps its microphones and what programs play.
    static std::shared_ptr<UrlOpener> desktop();
};

}  // namespace tarn
