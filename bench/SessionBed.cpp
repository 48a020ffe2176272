#include "SessionBed.h"

#include <cstdlib>
#include <stdexcept>

namespace tarn::bench {

SessionBed::SessionBed() {
    std::string path = (std::filesystem::temp_directory_path() / "tarn-bench-XXXXXX").string();
    folder_ = ::mkdtemp(path.data());
    defaults_ = UserDefaults::open(folder_ / "settings.json");
    UserDefaults::setStandard(defaults_);
}

SessionBed::~SessionBed() {
    workers_.join();
    UserDefaults::setStandard(nullptr);
    defaults_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

SessionServices SessionBed::services() {
    auto services = SessionServices::real(main.get_executor());
    services.workers = workers_.get_executor();
    return services;
}

std::shared_ptr<TranslateSession> SessionBed::makeSession(const std::string& storageNamespace,
                                                          const SessionServices& services) {
    return std::make_shared<TranslateSession>(storageNamespace, defaults_, services);
}

void SessionBed::until(const std::string& what, const std::function<bool()>& isSo,
                       std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (main.restart(); !isSo(); main.restart()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("not in time: " + what);
        }
        main.run_one_for(std::chrono::milliseconds(50));
    }
}

void SessionBed::runFor(std::chrono::nanoseconds time) {
    main.restart();
    main.run_for(time);
}

}  // namespace tarn::bench
