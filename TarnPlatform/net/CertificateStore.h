#pragma once

#include <string>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// Where this system's trusted certificates are: the file or the folder that `TlsTrust::system` reads, of
/// which `SSL_CERT_FILE` and `SSL_CERT_DIR` name others. Fails with `tls` where neither has any, naming both.
/// Thread: any; waits for the disk.
Result<std::string> certificateStore();

}  // namespace tarn
