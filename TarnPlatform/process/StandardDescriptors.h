#pragma once

namespace tarn {

/// Opens "/dev/null" for each standard descriptor that the program was started without, so that no file or
/// socket of ours takes its place and is read or written as such. Call first in `main`.
void holdStandardDescriptors();

}  // namespace tarn
