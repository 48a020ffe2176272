#include "OwnProcess.h"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

namespace tarn {

// The kernel gives the lowest free number to each new descriptor, so that the ones that are missing are
// filled before any other.
void holdStandardDescriptors() {
    for (;;) {
        const int lowest = ::open("/dev/null", O_RDWR);
        if (lowest < 0) {
            return;
        }
        if (lowest > STDERR_FILENO) {
            ::close(lowest);
            return;
        }
    }
}

void mapLargeBlocks() {
    ::mallopt(M_MMAP_THRESHOLD, 1 << 20);  // a value that is set does not grow any more
}

void giveFreeMemoryBack() {
    ::malloc_trim(0);
}

}  // namespace tarn
