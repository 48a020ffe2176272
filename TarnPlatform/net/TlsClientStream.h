#pragma once

#include <boost/asio/ssl/stream.hpp>
#include <string>

#include "ClientSocket.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

using TlsClientStream = asio::ssl::stream<ClientSocket>;

/// Does the TLS handshake as a client: the peer must present a certificate for `host` that the stream's
/// context trusts. The failure says which of the two was wrong. Thread: the stream's executor.
Task<Result<void>> shakeHands(TlsClientStream& stream, const std::string& host);

}  // namespace tarn
