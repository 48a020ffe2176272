#include "NetworkThread.h"

namespace tarn {

NetworkThread::NetworkThread() : work_(context_.get_executor()), thread_([this] { context_.run(); }) {}

NetworkThread::~NetworkThread() {
    work_.reset();
    context_.stop();
    thread_.join();
}

NetworkThread& NetworkThread::shared() {
    static NetworkThread thread;
    return thread;
}

}  // namespace tarn
