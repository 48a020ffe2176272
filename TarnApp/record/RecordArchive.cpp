#include "RecordArchive.h"

#include <chrono>
#include <future>
#include <utility>

#include "TarnPlatform/base/EventQueue.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds endLimit{2};

template <typename T>
Task<T> answerOf(EventQueue<T> answers) {
    auto answer = co_await answers.next();
    co_return std::move(*answer);
}

/// The work begins at once, whether or not anybody ever waits for the answer.
template <typename T>
Task<T> ask(const RecordArchive& archive, std::move_only_function<T(const RecordFolder&)> question) {
    const EventQueue<T> answers;
    archive.later([answers, question = std::move(question)](const RecordFolder& folder) mutable {
        answers.push(question(folder));
    });
    return answerOf(answers);
}

}  // namespace

RecordArchive::RecordArchive(std::filesystem::path folder)
    : folder_(std::make_shared<const RecordFolder>(std::move(folder))),
      queue_(std::make_unique<SerialQueue>("tarn.records")) {}

RecordArchive::~RecordArchive() {
    auto done = std::make_shared<std::promise<void>>();
    const auto isDone = done->get_future();
    queue_->async([done] { done->set_value(); });
    if (isDone.wait_for(endLimit) != std::future_status::ready) {
        // Its thread hangs in the kernel and ends with the process.
        static_cast<void>(queue_.release());
    }
}

Task<Result<std::vector<RecordInfo>>> RecordArchive::list() const {
    return ask<Result<std::vector<RecordInfo>>>(*this,
                                                [](const RecordFolder& folder) { return folder.list(); });
}

Task<Result<RecordContents>> RecordArchive::read(std::string name) const {
    return ask<Result<RecordContents>>(
        *this, [name = std::move(name)](const RecordFolder& folder) { return folder.read(name); });
}

Task<Result<void>> RecordArchive::remove(std::string name) const {
    return ask<Result<void>>(
        *this, [name = std::move(name)](const RecordFolder& folder) { return folder.remove(name); });
}

Task<Result<void>> RecordArchive::removeAll() const {
    return ask<Result<void>>(*this, [](const RecordFolder& folder) { return folder.removeAll(); });
}

void RecordArchive::later(std::move_only_function<void(const RecordFolder&)> work) const {
    queue_->async([folder = folder_, work = std::move(work)]() mutable { work(*folder); });
}

}  // namespace tarn
