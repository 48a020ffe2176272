#include "TlsTrust.h"

#include <boost/asio/ssl/context.hpp>

namespace tarn {

namespace ssl = boost::asio::ssl;

TlsTrust::TlsTrust() : context_(std::make_unique<ssl::context>(ssl::context::tls_client)) {
    SSL_CTX_set_min_proto_version(context_->native_handle(), TLS1_2_VERSION);
    context_->set_verify_mode(ssl::verify_peer);
}

TlsTrust::~TlsTrust() = default;

std::shared_ptr<TlsTrust> TlsTrust::system() {
    std::shared_ptr<TlsTrust> trust(new TlsTrust);
    boost::system::error_code error;
    // Without a readable store every certificate is refused later, which says so better than a failure here.
    trust->context_->set_default_verify_paths(error);
    return trust;
}

Result<std::shared_ptr<TlsTrust>> TlsTrust::fromFile(const std::string& path) {
    std::shared_ptr<TlsTrust> trust(new TlsTrust);
    boost::system::error_code error;
    trust->context_->load_verify_file(path, error);
    if (error) {
        return failure(ErrorKind::tls, "no certificates can be read from " + path);
    }
    return trust;
}

}  // namespace tarn
