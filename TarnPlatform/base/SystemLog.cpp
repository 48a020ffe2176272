#include "SystemLog.h"

#include <syslog.h>

#include <string>

#include "UserFolders.h"

namespace tarn {

void systemLog(std::string_view line) {
    static const bool opened = (::openlog(UserFolders::ownName, LOG_PID, LOG_USER), true);
    static_cast<void>(opened);
    ::syslog(LOG_WARNING, "%s", std::string(line).c_str());
}

}  // namespace tarn
