#pragma once

#include "Options.h"
#include "TarnPlatform/concurrency/Asio.h"

namespace tarn::cli {

/// Reads a token from standard input, asks the server whose it is, and stores it unless the server refuses
/// it.
Task<ExitStatus> loginWithToken(const Options& options);

/// Ends the token on the server where that can be reached, and forgets it in any case.
Task<ExitStatus> logout(const Options& options);

Task<ExitStatus> showStatus(const Options& options);

}  // namespace tarn::cli
