#include "FreeMemory.h"

#include <malloc.h>

namespace tarn {

void giveFreeMemoryBack() {
    ::malloc_trim(0);
}

void mapLargeBlocks() {
    ::mallopt(M_MMAP_THRESHOLD, 1 << 20);  // naming a value also ends its growing
}

}  // namespace tarn
