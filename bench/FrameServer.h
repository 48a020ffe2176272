#pragma once

#include <cstdio>
#include <string>

#include "support/TestCertificates.h"

namespace tarn::bench {

/// A WebSocket server over TLS on 127.0.0.1 that does as little as it can, so that the client is what a
/// measurement measures. It never looks into a message. One connection after the other, for ever; writes its
/// port to `out`.
///
/// A connection's first message is taken as the greeting. Then, after every `batch` messages, it sends
/// `events` events, two of translated audio (100 ms each) to one of partial text. Both come from the path:
/// "/batch/events".
void serveFrames(const tarn::test::TestCertificates::Identity& identity, std::FILE* out);

std::string frameServerPath(int batch, int events);

}  // namespace tarn::bench
