#include "TlsProxy.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>

#include "AcceptAll.h"
#include "Pump.h"

namespace tarn::test {

using asio::ip::tcp;

struct TlsProxy::State {
    State(SerialExecutor executor, const TestCertificates::Identity& identity, std::uint16_t plainPort)
        : acceptor(executor, {asio::ip::address_v4::loopback(), 0}),
          context(asio::ssl::context::tls_server),
          target(asio::ip::address_v4::loopback(), plainPort) {
        context.use_certificate_chain(asio::buffer(identity.certificate));
        context.use_private_key(asio::buffer(identity.key), asio::ssl::context::pem);
    }
    tcp::acceptor acceptor;
    asio::ssl::context context;
    tcp::endpoint target;
};

namespace {

template <typename State>
Task<void> serve(std::shared_ptr<State> state, tcp::socket accepted) {
    using namespace asio::experimental::awaitable_operators;
    asio::ssl::stream<tcp::socket> secure(std::move(accepted), state->context);
    tcp::socket plain(secure.get_executor());
    const auto [handshakeError] = co_await secure.async_handshake(asio::ssl::stream_base::server, asValue);
    if (handshakeError) {
        co_return;
    }
    const auto [connectError] = co_await plain.async_connect(state->target, asValue);
    if (connectError) {
        co_return;
    }
    plain.set_option(tcp::no_delay(true));
    secure.next_layer().set_option(tcp::no_delay(true));
    co_await (pump(secure, plain) || pump(plain, secure));
}

}  // namespace

TlsProxy::TlsProxy(SerialExecutor executor, const TestCertificates::Identity& identity,
                   std::uint16_t plainPort)
    : state_(std::make_shared<State>(executor, identity, plainPort)) {
    asio::co_spawn(executor, acceptAll(state_, serve<State>), asio::detached);
}

TlsProxy::~TlsProxy() {
    // The loop may be accepting just now.
    asio::post(state_->acceptor.get_executor(), [state = state_] {
        boost::system::error_code ignored;
        state->acceptor.close(ignored);
    });
}

std::uint16_t TlsProxy::port() const {
    return state_->acceptor.local_endpoint().port();
}

}  // namespace tarn::test
