#pragma once

namespace tarn {

// Settings of the process that calls. Thread: any, unless said otherwise.

/// Opens "/dev/null" for each standard descriptor that the program was started without, so that no file or
/// socket of ours takes its place and is read or written as such. Call first in `main`.
void holdStandardDescriptors();

/// Has the C library map every block of 1 MiB or more by itself for as long as the program runs, so that it
/// goes back to the system when it is freed. By default the library takes such blocks from its heaps as soon
/// as one of up to 32 MiB was freed. The audio server's library makes and frees blocks of 2 to 24 MB for each
/// stream; smaller ones that live on between them would then keep the heaps from ever shrinking again. Call
/// first in `main`.
void mapLargeBlocks();

/// Gives memory that was freed, and that the C library keeps for later, back to the system. Takes some
/// milliseconds for each 100 MiB, in which other threads may have to wait to allocate.
void giveFreeMemoryBack();

}  // namespace tarn
