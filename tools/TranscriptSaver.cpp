#include "TranscriptSaver.h"

#include <boost/asio/experimental/awaitable_operators.hpp>
#include <chrono>
#include <optional>
#include <utility>

#include "TarnPlatform/base/Clock.h"

namespace tarn::cli {
namespace {

using namespace asio::experimental::awaitable_operators;

constexpr std::chrono::seconds endLimit{5};

}  // namespace

TranscriptSaver::TranscriptSaver(const std::vector<std::string>& paths, const TranscriptOptions& options)
    : paths_(paths), options_(options) {}

TranscriptSaver::~TranscriptSaver() {
    if (isStuck_) {
        // Its thread hangs in the kernel and ends with the process.
        static_cast<void>(queue_.release());
    }
}

Result<void> TranscriptSaver::open() {
    if (queue_ || paths_.empty()) {
        return {};
    }
    for (const std::string& path : paths_) {
        TranscriptOptions options = options_;
        options.format = transcriptFormatOf(path).value_or(TranscriptFormat::txt);
        auto made = TranscriptFile::create(path, options);
        if (!made) {
            return std::unexpected(made.error());
        }
        files_->saved.push_back({std::move(*made)});
    }
    queue_ = std::make_unique<SerialQueue>("tarn.saving");
    return {};
}

void TranscriptSaver::add(const Utterance& utterance) {
    if (!queue_) {
        return;
    }
    queue_->async([files = files_, utterance] {
        for (Saved& saved : files->saved) {
            const auto written = saved.file.add(utterance);
            if (!written && !saved.fails) {
                files->troubles.push(written.error().description);
            }
            saved.fails = !written;
        }
    });
}

Task<void> TranscriptSaver::close() {
    if (queue_) {
        isComplete_ = false;
        const EventQueue<bool> done;
        queue_->async([files = files_, done] {
            bool isWritten = true;
            for (Saved& saved : files->saved) {
                if (const auto written = saved.file.close(); !written) {
                    files->troubles.push(written.error().description);
                    isWritten = false;
                }
            }
            done.push(isWritten);
        });
        const auto first = co_await (done.next() || sleepFor(Clock::system(), endLimit));
        if (const auto* const written = std::get_if<0>(&first)) {
            isComplete_ = written->value_or(false);
        } else {
            isStuck_ = true;
            files_->troubles.push("the disk takes what was said too slowly: the end of it may be missing");
        }
    }
    files_->troubles.finish();
}

}  // namespace tarn::cli
