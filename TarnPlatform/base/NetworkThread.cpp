#include "NetworkThread.h"

#include <openssl/ssl.h>

namespace tarn {

NetworkThread::NetworkThread() : work_(context_.get_executor()), thread_([this] { context_.run(); }) {}

NetworkThread::~NetworkThread() {
    work_.reset();
    context_.stop();
    thread_.join();
}

NetworkThread& NetworkThread::shared() {
    // Set up first, so that it is taken down last: what the thread drops at its end may still hold keys.
    static const int tls = OPENSSL_init_ssl(0, nullptr);
    static_cast<void>(tls);
    static NetworkThread thread;
    return thread;
}

}  // namespace tarn
