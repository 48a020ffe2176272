#include "BusThread.h"

#include <future>
#include <utility>

#include "BusConnection.h"
#include "SessionBus.h"

namespace tarn {

// The address is read here, because the environment may still change while the thread starts.
BusThread::BusThread(Bus bus)
    : bus_(std::make_unique<BusConnection>(bus == Bus::session ? sessionBusAddress() : systemBusAddress())),
      thread_([bus = bus_.get()] { bus->runThread(); }) {}

BusThread::~BusThread() {
    post([](BusConnection& bus) { bus.end(); });
    thread_.join();
}

void BusThread::post(Work work) {
    callOn(bus_->context(), [bus = bus_.get(), work = std::move(work)] { work(*bus); });
}

void BusThread::run(Work work) {
    // Shared, because this function may return while the thread is still leaving `set_value`.
    const auto done = std::make_shared<std::promise<void>>();
    post([work = std::move(work), done](BusConnection& bus) {
        work(bus);
        done->set_value();
    });
    done->get_future().wait();
}

}  // namespace tarn
