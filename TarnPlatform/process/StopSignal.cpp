#include "StopSignal.h"

#include <sys/eventfd.h>

namespace tarn {

StopSignal::StopSignal() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void StopSignal::raise() {
    raised_ = true;
    if (event_) {
        ::eventfd_write(event_.get(), 1);
    }
}

}  // namespace tarn
