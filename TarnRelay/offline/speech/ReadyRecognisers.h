#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Recogniser.h"
#include "TarnPlatform/base/Asio.h"

namespace tarn::relay {

/// Keeps one recogniser loaded ahead, of the kind that was asked for last, so that a client's first words do
/// not wait for a model to be read. A factory that lists no languages is passed through. Thread: any.
class ReadyRecognisers : public RecogniserFactory, public std::enable_shared_from_this<ReadyRecognisers> {
public:
    /// `workers`: where models are read; not used once the last call to `make` has returned and its work is
    /// done. `gone` is called after each recogniser that has read a model is destroyed, on whichever thread.
    ReadyRecognisers(std::shared_ptr<RecogniserFactory> factory, asio::any_io_executor workers,
                     std::function<void()> gone);

    std::vector<std::string> languages() const override { return factory_->languages(); }
    SilenceBounds silenceBounds() const override { return factory_->silenceBounds(); }
    Result<std::unique_ptr<Recogniser>> make(const std::string& language, int silenceMs) override;

    /// Loads a recogniser on a worker, unless one of this kind is there. A failure is left to `make`'s
    /// caller.
    void prepare(const std::string& language, int silenceMs);

private:
    struct Kind {
        std::string language;
        int silenceMs = 0;
        bool operator==(const Kind&) const = default;
    };

    class Lent;

    Result<std::unique_ptr<Recogniser>> makeLent(const Kind& kind) const;
    void load(const Kind& kind);

    const std::shared_ptr<RecogniserFactory> factory_;
    const asio::any_io_executor workers_;
    const std::function<void()> gone_;
    std::mutex mutex_;  ///< guards the next two
    Kind kind_;
    std::unique_ptr<Recogniser> ready_;
};

}  // namespace tarn::relay
