#include "ReadyRecognisers.h"

#include <boost/asio/post.hpp>
#include <utility>

namespace tarn::relay {

ReadyRecognisers::ReadyRecognisers(std::shared_ptr<RecogniserFactory> factory, asio::any_io_executor workers)
    : factory_(std::move(factory)), workers_(std::move(workers)) {}

Result<std::unique_ptr<Recogniser>> ReadyRecognisers::make(const std::string& language, int silenceMs) {
    std::unique_ptr<Recogniser> taken;
    {
        const std::lock_guard lock(mutex_);
        if (kind_ == Kind{.language = language, .silenceMs = silenceMs}) {
            taken = std::move(ready_);
        }
    }
    prepare(language, silenceMs);
    if (taken) {
        return taken;
    }
    return factory_->make(language, silenceMs);
}

void ReadyRecognisers::prepare(const std::string& language, int silenceMs) {
    if (factory_->languages().empty()) {
        return;
    }
    asio::post(workers_, [self = shared_from_this(),
                          kind = Kind{.language = language, .silenceMs = silenceMs}] { self->load(kind); });
}

void ReadyRecognisers::load(const Kind& kind) {
    {
        const std::lock_guard lock(mutex_);
        if (ready_ && kind_ == kind) {
            return;
        }
    }
    auto made = factory_->make(kind.language, kind.silenceMs);
    std::vector<Hypothesis> nothing;
    // Without a sample to work on, a recogniser does what comes before the first one: it reads its model.
    if (!made || !(*made)->process({}, nothing)) {
        return;
    }
    const std::lock_guard lock(mutex_);
    kind_ = kind;
    ready_.swap(*made);
}

}  // namespace tarn::relay
