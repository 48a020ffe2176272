#pragma once

#include <QTimer>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "TarnApp/session/TranslateViewModel.h"
#include "TarnApp/session/URLSchemeHandler.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/bus/BusThread.h"
#include "TarnPlatform/desktop/SingleInstance.h"

namespace tarn {

/// Carries out links where there is no window: hands them to the running program, or else is the one that
/// others hand theirs to, until all are carried out, the check of the account that follows signing in
/// included. Thread: main.
class LinkHost {
public:
    /// `bus` must outlive this. `patience`: how long it waits for more links before it ends. `main` is the
    /// executor of Qt's event loop.
    LinkHost(BusThread& bus, SerialExecutor main, std::chrono::milliseconds patience);

    /// Runs the event loop as long as there is something to do. Returns the program's exit status: 0 when
    /// every link was carried out or handed over, 1, after one line, when the running program did not take
    /// them.
    int run(const std::vector<std::string>& links);

private:
    enum class Position : unsigned char { alone, served, refused };

    Position takePosition(const std::vector<std::string>& links);
    void openModel();
    void carryOut(const std::vector<std::string>& links);
    void rest();
    void leave();

    BusThread& bus_;
    const SerialExecutor main_;
    std::chrono::milliseconds patience_;
    bool isLeaving_ = false;
    int checks_ = 0;  ///< of the account, under way
    QTimer idle_;
    QTimer limit_;  ///< of the checks
    std::shared_ptr<TranslateViewModel> model_;
    URLSchemeHandler handler_;
    std::unique_ptr<SingleInstance> instance_;
};

}  // namespace tarn
