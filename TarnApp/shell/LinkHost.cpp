#include "LinkHost.h"

#include <QCoreApplication>
#include <boost/asio/post.hpp>

#include "TarnApp/session/Link.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds checkLimit{10};
// The running program may end between the claim and the forwarding, and so may its successor.
constexpr int mostClaims = 5;

}  // namespace

LinkHost::LinkHost(BusThread& bus, SerialExecutor main, std::chrono::milliseconds patience)
    : bus_(bus), main_(std::move(main)), patience_(patience) {
    for (auto* const timer : {&idle_, &limit_}) {
        timer->setSingleShot(true);
        QObject::connect(timer, &QTimer::timeout, [this] { leave(); });
    }
}

int LinkHost::run(const std::vector<std::string>& links) {
    switch (takePosition(links)) {
        case Position::refused:
            return 1;
        case Position::served:
            return 0;
        case Position::alone:
            break;
    }
    openModel();
    carryOut(links);
    return QCoreApplication::exec();
}

LinkHost::Position LinkHost::takePosition(const std::vector<std::string>& links) {
    std::string complaint;
    for (int claim = 0; claim < mostClaims; ++claim) {
        instance_.reset();
        instance_ = SingleInstance::claim(
            bus_, applicationID, main_,
            {.activate =
                 [] { logLine("[tarn] there is no display for a window; tarn-cli works without one"); },
             .open = [this](const std::vector<std::string>& urls) { carryOut(urls); },
             .action = {}});
        if (instance_->isPrimary()) {
            return Position::alone;
        }
        if (links.empty()) {
            return Position::served;  // the bus only wanted the name to have an owner
        }
        const auto answer = instance_->forward(links);
        if (answer) {
            return Position::served;
        }
        complaint = answer.error().description;
        if (answer.error().kind != ErrorKind::unavailable) {
            break;
        }
    }
    logLine("[tarn] the link is not carried out: " + complaint);
    return Position::refused;
}

void LinkHost::openModel() {
    model_ = TranslateViewModel::make(ViewModelServices::real(main_));
    handler_.credentials = model_->services().credentials;
    handler_.viewModel = model_;
    checks_ = 1;  // the stored sign-in is being read
    QObject::connect(model_.get(), &TranslateViewModel::isLoggedInChanged, [this] {
        // The account is checked after every sign-in.
        checks_ += model_->isLoggedIn() ? 1 : 0;
    });
    QObject::connect(model_.get(), &TranslateViewModel::accountChecked, [this] {
        --checks_;
        rest();
    });
}

void LinkHost::carryOut(const std::vector<std::string>& links) {
    for (const auto& link : links) {
        if (isLink(link)) {
            handler_.handle(link);
        }
    }
    rest();
}

void LinkHost::rest() {
    if (checks_ > 0) {
        idle_.stop();
        limit_.start(checkLimit);
    } else {
        limit_.stop();
        idle_.start(patience_);
    }
}

void LinkHost::leave() {
    if (isLeaving_) {
        QCoreApplication::exit(0);
        return;
    }
    isLeaving_ = true;
    if (checks_ > 0) {
        logLine("[tarn] the account server does not answer");
        checks_ = 0;
    }
    // Links that arrived before the name was released are in the queue already, ahead of this call.
    patience_ = std::chrono::milliseconds(0);
    instance_->release();
    asio::post(main_, [this] { rest(); });
}

}  // namespace tarn
