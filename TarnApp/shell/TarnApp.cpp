#include "TarnApp.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QGuiApplication>
#include <QTimer>
#include <algorithm>
#include <boost/asio/post.hpp>
#include <cstdlib>
#include <string_view>

#include "TarnApp/relaunch/AppRelaunch.h"
#include "TarnApp/views/model/ViewTypes.h"
#include "TarnApp/views/style/Appearance.h"
#include "TarnPlatform/process/OwnProcess.h"
#include "TrayPicture.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds stopLimit{1};

}  // namespace

TarnApp::TarnApp(const ViewModelServices& services, BusThread& bus, MainWindowLoader& loader)
    : bus_(bus),
      vm_(TranslateViewModel::make(services)),
      onboarding_(std::make_shared<OnboardingCoordinator>(services.defaults, services.credentials)),
      appearance_(bus, services.session.main),
      look_(services.defaults),
      loader_(loader),
      appDelegate_(loader.engine(), services),
      lookWindow_(loader.engine(), "qrc:/qt/qml/Tarn/Look/LookWindow.qml"),
      elsewhereWindow_(loader.engine(), "qrc:/qt/qml/Tarn/Elsewhere/ElsewhereWindow.qml") {
    Loc::manager = &localization_;
    AppRelaunch::use(AppRelaunch::Surroundings::real(services.session.main, &QCoreApplication::quit));
    appDelegate_.terminate = &QCoreApplication::quit;
    appDelegate_.makeWindow = [this](const std::string& name) { makeWindow(name); };
    Look::chosen = &look_;
    followDesktop();
}

TarnApp::~TarnApp() {
    keys_.reset();
    tray_.reset();
    record_.reset();
    mainWindow_.reset();
    lookWindow_.close();
    elsewhereWindow_.close();
    Loc::manager = nullptr;
    Look::chosen = nullptr;
}

bool TarnApp::previewOnboarding() {
    const char* const value = std::getenv("TARN_PREVIEW_ONBOARDING");
    return value != nullptr && std::string_view(value) == "1";
}

bool TarnApp::open() {
    mainWindow_ = loader_.make({{"vm", QVariant::fromValue(vm_.get())},
                                {"onboarding", QVariant::fromValue(onboarding_.get())},
                                {"delegate", QVariant::fromValue(static_cast<QObject*>(&appDelegate_))},
                                {"preview", previewOnboarding()}});
    QQuickWindow* const window = mainWindow_.get();
    if (window == nullptr) {
        return false;
    }
    if (previewOnboarding()) {
        appDelegate_.styleOnboarding(window);
        window->setTitle(localization_.onboardingWindowTitle());
    } else {
        appDelegate_.style(window);
    }
    // If onboarding comes first, the main window is shown when the onboarding window has been closed.
    if (previewOnboarding() || !onboarding_->shouldShowOnboarding()) {
        QObject::connect(
            window, &QQuickWindow::frameSwapped, &appDelegate_, [this] { appearElsewhere(); },
            static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
        window->show();
    } else {
        QTimer::singleShot(0, &appDelegate_, [this] { appearElsewhere(); });
    }
    if (!loader_.fill(*window)) {
        return false;
    }
    appeared();
    return true;
}

void TarnApp::appeared() {
    QObject::connect(vm_.get(), &TranslateViewModel::anyRunningChanged, &appDelegate_, [this] {
        if (!vm_->anyRunning()) {
            asio::post(vm_->services().session.workers, giveFreeMemoryBack);
        }
    });
    vm_->onAuthLost = [weak = std::weak_ptr(onboarding_)] {
        if (const auto coordinator = weak.lock()) {
            coordinator->setIsLoggedIn(false);
        }
    };
    if (!previewOnboarding()) {
        appDelegate_.configureOnboarding(vm_, onboarding_, localization_);
    }
}

// The tray, the keys and what else shows subtitles take a while, so they are made after the window has been
// shown.
void TarnApp::appearElsewhere() {
    QGuiApplication::setWindowIcon(windowIcon());
    tray_ = std::make_unique<Tray>(bus_, *vm_, *appDelegate_.overlay(), localization_,
                                   [this](const std::string& action) { perform(action); });
    const auto& services = vm_->services();
    elsewhere_ = std::make_unique<SubtitlesElsewhere>(*vm_, bus_);
    QQmlEngine::setObjectOwnership(elsewhere_.get(), QQmlEngine::CppOwnership);
    keys_ = std::make_unique<GlobalKeys>(bus_, services.session.main, *services.defaults,
                                         [this](const std::string& id) { perform(id); });
}

void TarnApp::followDesktop() {
    const auto follow = [this] {
        Appearance::shared().setDark(appearance_.isDark());
        Appearance::shared().setReducedMotion(appearance_.reducedMotion());
        Appearance::shared().setHighContrast(appearance_.highContrast());
        Appearance::shared().setTranslucent(appDelegate_.compositor().isRunning());
    };
    QObject::connect(&appearance_, &DesktopAppearance::changed, &appDelegate_, follow);
    QObject::connect(&appDelegate_.compositor(), &Compositor::changed, &appDelegate_, follow);
    follow();
}

void TarnApp::makeWindow(const std::string& name) {
    if (name == "record") {
        if (!record_) {
            record_ = std::make_unique<RecordWindowController>(loader_.engine(), *vm_, bus_);
        }
        record_->show();
    } else if (name == "look") {
        lookWindow_.show();
    } else if (name == "elsewhere" && elsewhere_) {
        elsewhereWindow_.show({{"elsewhere", QVariant::fromValue(elsewhere_.get())}});
    }
}

void TarnApp::activate() {
    appDelegate_.bringToFront();
}

void TarnApp::openUrls(const std::vector<std::string>& urls) {
    auto& handler = appDelegate_.urlSchemeHandler();
    handler.credentials = vm_->services().credentials;
    handler.viewModel = vm_;
    handler.onboarding = onboarding_;
    for (const auto& url : urls) {
        handler.handle(url);
    }
}

void TarnApp::perform(const std::string& action) {
    if (action == "start" || (action == "start-stop" && !vm_->canStop())) {
        vm_->startAll();
    } else if (action == "stop" || action == "start-stop") {
        vm_->stopAll();
    } else if (action == "add-source") {
        vm_->addSession();
    } else if (action == "mini-mode") {
        vm_->setMiniMode(!vm_->miniMode());
    } else if (action == "click-through") {
        appDelegate_.setClickThrough(!appDelegate_.overlay()->clickThrough());
    } else if (action == "record" || action == "look" || action == "elsewhere") {
        appDelegate_.openWindow(QString::fromStdString(action));
    } else if (action == "show") {
        activate();
    } else if (action == "quit") {
        QCoreApplication::quit();
    }
}

void TarnApp::stopSessions() {
    vm_->stopAll();
    vm_->stopAll();  // nobody reads the last texts any more
    const auto isOver = [this] {
        return std::ranges::none_of(vm_->sessions(), [](const auto& session) {
            return session->canStop() || session->state().kind() == ConnectionState::Case::stopping;
        });
    };
    QEventLoop loop;
    QTimer::singleShot(stopLimit, &loop, &QEventLoop::quit);
    for (const auto& session : vm_->sessions()) {
        QObject::connect(session.get(), &TranslateSession::stateChanged, &loop, [&loop, &isOver] {
            if (isOver()) {
                loop.quit();
            }
        });
    }
    if (!isOver()) {
        loop.exec();
    }
}

}  // namespace tarn
