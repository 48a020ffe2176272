#include "TlsTrust.h"

#include <boost/asio/ssl/context.hpp>

namespace tarn {

namespace ssl = boost::asio::ssl;

// OpenSSL registers its clean-up with atexit when it is first used. Used before any thread that needs it, it
// outlives them at the end of the process.
TlsTrust::TlsTrust() {
    OPENSSL_init_ssl(0, nullptr);
}

TlsTrust::~TlsTrust() = default;

void TlsTrust::make() {
    context_ = std::make_unique<ssl::context>(ssl::context::tls_client);
    SSL_CTX_set_min_proto_version(context_->native_handle(), TLS1_2_VERSION);
    context_->set_verify_mode(ssl::verify_peer);
}

ssl::context& TlsTrust::context() {
    std::call_once(made_, [this] {
        if (context_) {
            return;
        }
        make();
        boost::system::error_code error;
        // Without a readable store every certificate is refused later, with a clearer message than a failure
        // here could give.
        context_->set_default_verify_paths(error);
    });
    return *context_;
}

std::shared_ptr<TlsTrust> TlsTrust::system() {
    return std::shared_ptr<TlsTrust>(new TlsTrust);
}

Result<std::shared_ptr<TlsTrust>> TlsTrust::fromFile(const std::string& path) {
    std::shared_ptr<TlsTrust> trust(new TlsTrust);
    trust->make();
    boost::system::error_code error;
    trust->context_->load_verify_file(path, error);
    if (error) {
        return failure(ErrorKind::tls, "no certificates can be read from " + path);
    }
    return trust;
}

}  // namespace tarn
