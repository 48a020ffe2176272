#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "TarnPlatform/base/Result.h"

namespace boost::asio::ssl {
class context;
}

namespace tarn {

/// The certificates that a client trusts, and the TLS settings that go with them (TLS 1.2 at least, peer
/// verified). Immutable once made; must outlive the connections made with it. Thread: any.
class TlsTrust {
public:
    /// The system's certificate store; `SSL_CERT_FILE` and `SSL_CERT_DIR` replace it. Read when it is first
    /// used, since that takes a while and many a program talks to its own machine only.
    static std::shared_ptr<TlsTrust> system();
    /// Trusts only the certificates in a PEM file.
    static Result<std::shared_ptr<TlsTrust>> fromFile(const std::string& path);

    ~TlsTrust();
    boost::asio::ssl::context& context();

private:
    TlsTrust();
    void make();

    std::once_flag made_;
    std::unique_ptr<boost::asio::ssl::context> context_;
};

}  // namespace tarn
