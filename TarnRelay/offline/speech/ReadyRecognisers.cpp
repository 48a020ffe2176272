#include "ReadyRecognisers.h"

#include <boost/asio/post.hpp>
#include <utility>

namespace tarn::relay {

/// Calls `gone` when it has been destroyed.
class ReadyRecognisers::Lent : public Recogniser {
public:
    Lent(std::unique_ptr<Recogniser> recogniser, std::function<void()> gone)
        : recogniser_(std::move(recogniser)), gone_(std::move(gone)) {}
    Lent(const Lent&) = delete;
    Lent& operator=(const Lent&) = delete;
    ~Lent() override {
        recogniser_.reset();
        gone_();
    }

    Result<void> process(std::span<const std::int16_t> samples, std::vector<Hypothesis>& heard) override {
        return recogniser_->process(samples, heard);
    }
    bool inSpeech() const override { return recogniser_->inSpeech(); }
    bool full() const override { return recogniser_->full(); }
    bool answersLater() const override { return recogniser_->answersLater(); }

private:
    std::unique_ptr<Recogniser> recogniser_;
    const std::function<void()> gone_;
};

ReadyRecognisers::ReadyRecognisers(std::shared_ptr<RecogniserFactory> factory, asio::any_io_executor workers,
                                   std::function<void()> gone)
    : factory_(std::move(factory)), workers_(std::move(workers)), gone_(std::move(gone)) {}

Result<std::unique_ptr<Recogniser>> ReadyRecognisers::makeLent(const Kind& kind) const {
    auto made = factory_->make(kind.language, kind.silenceMs);
    if (!made) {
        return made;
    }
    return std::make_unique<Lent>(std::move(*made), gone_);
}

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
    const Kind kind{.language = language, .silenceMs = silenceMs};
    return factory_->languages().empty() ? factory_->make(language, silenceMs) : makeLent(kind);
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
    auto made = makeLent(kind);
    std::vector<Hypothesis> nothing;
    // A call without samples makes a recogniser do what it does before the first one: read its model.
    if (!made || !(*made)->process({}, nothing)) {
        return;
    }
    // The one that was kept before is destroyed after the lock is released, which takes a while.
    const std::lock_guard lock(mutex_);
    kind_ = kind;
    ready_.swap(*made);
}

}  // namespace tarn::relay
