#pragma once

#include <memory>
#include <string>

namespace tarn {

/// Opens an address with the program that the desktop has for it. Thread: any.
class UrlOpener {
public:
    virtual ~UrlOpener() = default;

    /// `url` is an address or the absolute path of a file. Returns as soon as the program has been started.
    /// False where the desktop has no program for this address, or none starts.
    virtual bool open(const std::string& url) = 0;

    /// The desktop's own. An address of the scheme "x-apple.systempreferences" leads to the desktop's
    /// settings of sound, which is where this desktop keeps its microphones and what programs play.
    static std::shared_ptr<UrlOpener> desktop();
};

}  // namespace tarn
