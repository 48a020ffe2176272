#pragma once

#include <memory>
#include <vector>

#include "SubtitleFeed.h"
#include "TarnPlatform/bus/BusThread.h"

namespace tarn {

/// The subtitles on the session bus: the object /com/ostrel/tarn/Subtitles of this program's connection, with
/// the interface com.ostrel.tarn.Subtitles. Nothing happens without a bus.
/// Thread: the one that makes it; nothing here waits for the bus but the end.
class SubtitleSignals {
public:
    /// `bus` must outlive this.
    explicit SubtitleSignals(BusThread& bus);
    ~SubtitleSignals();
    SubtitleSignals(const SubtitleSignals&) = delete;
    SubtitleSignals& operator=(const SubtitleSignals&) = delete;

    /// Tells what `source` shows now; `all` is the property from now on.
    void show(std::size_t source, std::vector<ShownSubtitle> all);

private:
    class Object;
    BusThread& bus_;
    std::unique_ptr<Object> object_;  ///< on the bus's thread
};

}  // namespace tarn
