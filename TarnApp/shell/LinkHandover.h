#pragma once

#include <string>
#include <vector>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// A program that was started with a link by another one that waits for its end (as `xdg-open` does where
/// there is no desktop to ask) leaves the link, with the token in it, in that one's command line for as long
/// as it runs. A fresh process takes its place then. Thread: main.
namespace LinkHandover {

/// The only argument of the fresh process, which reads the links from its standard input.
inline constexpr const char* argument = "--take-links";

/// Whether a process that this one descends from shows one of `links` in its command line.
bool isNeeded(const std::vector<std::string>& links);

/// Starts the fresh process, which goes on when this one ends.
Result<void> start(const std::vector<std::string>& links);

/// What `start` has given this process.
std::vector<std::string> take();

}  // namespace LinkHandover

}  // namespace tarn
