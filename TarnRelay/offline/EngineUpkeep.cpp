#include "EngineUpkeep.h"

#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <utility>

namespace tarn::relay {

EngineUpkeep::EngineUpkeep(std::shared_ptr<Clock> clock, const asio::any_io_executor& workers,
                           std::shared_ptr<Translator> translator, std::function<void()> giveMemoryBack)
    : clock_(std::move(clock)),
      strand_(asio::make_strand(workers)),
      translator_(std::move(translator)),
      giveMemoryBack_(std::move(giveMemoryBack)) {}

void EngineUpkeep::recogniserGone() {
    asio::post(strand_, [self = shared_from_this()] {
        // Another recogniser that goes starts the time anew, so that memory is given back once for all.
        if (!self->stopped_) {
            self->settling_ = self->clock_->callAfter(self->strand_, settlingTime, [raw = self.get()] {
                raw->settling_.reset();
                raw->giveMemoryBack_();
            });
        }
    });
}

void EngineUpkeep::translatorNeeded() {
    asio::post(strand_, [self = shared_from_this()] {
        if (!self->stopped_ && !self->idling_) {
            self->endIdleLater(idleTime);
        }
    });
}

void EngineUpkeep::endIdleLater(Clock::Duration delay) {
    idling_ = clock_->callAfter(strand_, delay, [this] {
        idling_.reset();
        if (const auto next = translator_->endIdle(idleTime)) {
            endIdleLater(*next);
            return;
        }
        // A recogniser that was loaded meanwhile has freed memory, too, since the last one went.
        giveMemoryBack_();
    });
}

void EngineUpkeep::stop() {
    asio::post(strand_, [self = shared_from_this()] {
        self->stopped_ = true;
        self->settling_.reset();
        self->idling_.reset();
    });
}

}  // namespace tarn::relay
