#include "ClientSocket.h"

#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <boost/asio/ip/address.hpp>

namespace tarn {

Task<Result<void>> shakeHands(TlsClientStream& stream, const std::string& host) {
    boost::system::error_code isName;
    asio::ip::make_address(host, isName);
    const bool isAddress = !isName;
    if (!isAddress && SSL_set_tlsext_host_name(stream.native_handle(), host.c_str()) != 1) {
        co_return failure(ErrorKind::tls, "the host name cannot be sent to the server");
    }
    auto* const wanted = SSL_get0_param(stream.native_handle());
    // Names count only in the certificate's list of names, as RFC 9525 asks; its common name has been
    // obsolete for this since 2011 (RFC 6125).
    X509_VERIFY_PARAM_set_hostflags(
        wanted, X509_CHECK_FLAG_NEVER_CHECK_SUBJECT | X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
    const int isSet = isAddress ? X509_VERIFY_PARAM_set1_ip_asc(wanted, host.c_str())
                                : X509_VERIFY_PARAM_set1_host(wanted, host.c_str(), host.size());
    if (isSet != 1) {
        co_return failure(ErrorKind::tls, "the host name cannot be checked");
    }
    const auto [error] = co_await stream.async_handshake(asio::ssl::stream_base::client, asValue);
    if (!error) {
        co_return Result<void>();
    }
    const auto verdict = SSL_get_verify_result(stream.native_handle());
    if (verdict == X509_V_OK) {
        co_return failure(ErrorKind::tls, "no TLS connection with " + host + ": " + error.message());
    }
    const bool isForAnother =
        verdict == X509_V_ERR_HOSTNAME_MISMATCH || verdict == X509_V_ERR_IP_ADDRESS_MISMATCH;
    const std::string reason =
        isForAnother ? "it is not for this host" : X509_verify_cert_error_string(verdict);
    co_return failure(ErrorKind::tls, "the certificate of " + host + " is refused: " + reason);
}

}  // namespace tarn
