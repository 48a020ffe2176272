#include "TlsClientStream.h"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>

namespace tarn {

Task<Result<void>> shakeHands(TlsClientStream& stream, const std::string& host) {
    boost::system::error_code isName;
    asio::ip::make_address(host, isName);
    if (isName && SSL_set_tlsext_host_name(stream.native_handle(), host.c_str()) != 1) {
        co_return failure(ErrorKind::tls, "the host name cannot be sent to the server");
    }
    stream.set_verify_callback(asio::ssl::host_name_verification(host));
    const auto [error] = co_await stream.async_handshake(asio::ssl::stream_base::client, asValue);
    if (!error) {
        co_return Result<void>();
    }
    const auto verdict = SSL_get_verify_result(stream.native_handle());
    if (verdict == X509_V_OK) {
        co_return failure(ErrorKind::tls, "no TLS connection with " + host + ": " + error.message());
    }
    // The check of the name leaves no verdict of its own behind, where the check of the chain always does.
    const std::string reason = verdict == X509_V_ERR_UNSPECIFIED ? "it is not for this host"
                                                                 : X509_verify_cert_error_string(verdict);
    co_return failure(ErrorKind::tls, "the certificate of " + host + " is refused: " + reason);
}

}  // namespace tarn
