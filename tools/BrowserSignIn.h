#pragma once

#include "Options.h"
#include "TarnPlatform/base/Asio.h"

namespace tarn::cli {

/// Opens the sign-in page in the browser and waits until the token has come back through the desktop, which
/// stores it. Where a running Tarn is the one that links go to, it takes the token. Ends after 10 minutes,
/// and with Ctrl-C. `main`: the executor of the main thread.
Task<ExitStatus> loginInBrowser(const Options& options, SerialExecutor main);

}  // namespace tarn::cli
