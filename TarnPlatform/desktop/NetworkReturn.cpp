#include "NetworkReturn.h"

#include <glib-unix.h>

#include <algorithm>
#include <ctime>
#include <utility>
#include <vector>

#include "NetworkNews.h"
#include "TarnPlatform/base/PostedCallback.h"
#include "TarnPlatform/bus/BusConnection.h"
#include "TarnPlatform/bus/BusThread.h"

namespace tarn {
namespace {

constexpr const char* logind = "org.freedesktop.login1";
constexpr const char* logindPath = "/org/freedesktop/login1";
constexpr const char* logindInterface = "org.freedesktop.login1.Manager";

std::chrono::nanoseconds read(clockid_t clock) {
    timespec now{};
    ::clock_gettime(clock, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

using Tell = std::function<void()>;

/// Thread: the bus's.
class Signs {
public:
    Signs(BusConnection& bus, NetworkNews& news) : bus_(bus), news_(news) {
        if (news_.descriptor() >= 0) {
            source_ = g_unix_fd_source_new(news_.descriptor(), G_IO_IN);
            const GUnixFDSourceFunc readable = [](int, GIOCondition, gpointer self) -> gboolean {
                if (static_cast<Signs*>(self)->news_.read()) {
                    static_cast<Signs*>(self)->tell();
                }
                return G_SOURCE_CONTINUE;
            };
            g_source_set_callback(source_, G_SOURCE_FUNC(readable), this, nullptr);
            g_source_attach(source_, bus_.context());
        }
        bus_.whenConnected(lifeline_, [this](bool isConnected, const std::string&) {
            if (isConnected) {
                wakes_ = bus_.listen(logind, logindInterface, "PrepareForSleep", logindPath, "(b)",
                                     [this](std::string_view, GVariant* arguments) {
                                         gboolean isAboutToSleep = TRUE;
                                         g_variant_get(arguments, "(b)", &isAboutToSleep);
                                         if (isAboutToSleep == FALSE) {
                                             tell();
                                         }
                                     });
            }
        });
    }
    ~Signs() {
        if (source_ != nullptr) {
            g_source_destroy(source_);
            g_source_unref(source_);
        }
    }
    Signs(const Signs&) = delete;
    Signs& operator=(const Signs&) = delete;

    void add(std::weak_ptr<Tell> listener) {
        std::erase_if(listeners_, [](const auto& each) { return each.expired(); });
        listeners_.push_back(std::move(listener));
    }

private:
    void tell() {
        for (const auto& listener : listeners_) {
            if (const auto told = listener.lock()) {
                (*told)();
            }
        }
    }

    BusConnection& bus_;
    const BusConnection::Lifeline lifeline_ = BusConnection::newLifeline();
    NetworkNews& news_;
    GSource* source_ = nullptr;
    BusConnection::Held wakes_;
    std::vector<std::weak_ptr<Tell>> listeners_;
};

}  // namespace

class NetworkReturn::Watch {
public:
    Watch() {
        bus_.post([this](BusConnection& bus) { signs_ = std::make_unique<Signs>(bus, news_); });
    }
    ~Watch() {
        bus_.run([this](BusConnection&) { signs_.reset(); });
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    void add(std::weak_ptr<Tell> listener) {
        bus_.post([this, listener = std::move(listener)](BusConnection&) { signs_->add(listener); });
    }

private:
    NetworkNews news_;  ///< read on the bus's thread; made before, so that nothing is missed meanwhile
    BusThread bus_{BusThread::Bus::system};
    std::unique_ptr<Signs> signs_;  ///< on the bus's thread
};

NetworkReturn::NetworkReturn() = default;

NetworkReturn::~NetworkReturn() = default;

NetworkReturn::Listener NetworkReturn::listen(SerialExecutor executor, std::function<void()> told) {
    {
        const std::scoped_lock lock(starting_);
        if (!watch_) {
            watch_ = std::make_unique<Watch>();
        }
    }
    struct Kept {
        PostedCallback<> callback;
        std::shared_ptr<Tell> poster;
    };
    PostedCallback<> callback(std::move(executor), std::move(told));
    auto poster = std::make_shared<Tell>(callback.poster());
    watch_->add(poster);
    return std::make_shared<Kept>(std::move(callback), std::move(poster));
}

std::chrono::nanoseconds suspendedTime() {
    // The order makes a sleep between the two reads count at the next call and not as less than nothing.
    const auto awake = read(CLOCK_MONOTONIC);
    return read(CLOCK_BOOTTIME) - awake;
}

}  // namespace tarn
