#pragma once

#include "Options.h"
#include "TarnPlatform/base/Asio.h"

namespace tarn::cli {

/// Reads a token from standard input, asks the server whose it is, and stores it unless the server refuses
/// it.
Task<ExitStatus> loginWithToken(const Options& options, SerialExecutor main);

/// Forgets the token, and ends it on the server where that can be told within 5 s.
Task<ExitStatus> logout(const Options& options, SerialExecutor main);

Task<ExitStatus> showStatus(const Options& options, SerialExecutor main);

}  // namespace tarn::cli
