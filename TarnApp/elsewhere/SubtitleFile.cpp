#include "SubtitleFile.h"

#include <future>
#include <utility>

#include "TarnPlatform/base/AtomicFile.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds endLimit{1};

}  // namespace

/// Thread: the queue's.
struct SubtitleFile::Disk {
    std::filesystem::path path;
    std::function<void(std::string)> tell;
    std::string whyNot{};

    void put(const std::string& text) {
        const auto written = replaceFile(path, text);
        if (std::string now = written ? std::string() : written.error().description; now != whyNot) {
            whyNot = std::move(now);
            tell(whyNot);
        }
    }
};

SubtitleFile::SubtitleFile(std::filesystem::path path, SerialExecutor executor, std::shared_ptr<Clock> clock,
                           Told told)
    : executor_(std::move(executor)),
      clock_(std::move(clock)),
      told_(executor_, std::move(told)),
      disk_(std::make_shared<Disk>(Disk{std::move(path), told_.poster()})),
      queue_(std::make_unique<SerialQueue>("tarn.subtitles")) {}

SubtitleFile::~SubtitleFile() {
    auto done = std::make_shared<std::promise<void>>();
    const auto isDone = done->get_future();
    queue_->async([disk = disk_, done] {
        disk->put({});
        done->set_value();
    });
    if (isDone.wait_for(endLimit) != std::future_status::ready) {
        // Its thread hangs in the kernel and ends with the process.
        static_cast<void>(queue_.release());
    }
}

void SubtitleFile::show(std::string text) {
    text_ = std::move(text);
    isBehind_ = true;
    if (!pause_) {
        write();
    }
}

void SubtitleFile::write() {
    pause_.reset();
    if (!std::exchange(isBehind_, false)) {
        return;
    }
    queue_->async([disk = disk_, text = text_] { disk->put(text); });
    pause_ = clock_->callAfter(executor_, shortest, [this] { write(); });
}

}  // namespace tarn
