#pragma once

namespace tarn {

/// Gives memory that was freed, and that the C library keeps for later, back to the system. Takes some
/// milliseconds for each 100 MiB, in which other threads may have to wait to allocate. Thread: any.
void giveFreeMemoryBack();

}  // namespace tarn
