#include "FreeMemory.h"

#include <malloc.h>

namespace tarn {

void giveFreeMemoryBack() {
    ::malloc_trim(0);
}

}  // namespace tarn
