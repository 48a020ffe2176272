// What the sessions say, taken down.
#include <algorithm>
#include <chrono>
#include <utility>

#include "TranslateViewModel.h"

namespace tarn {

std::size_t TranslateViewModel::numberOf(const TranslateSession& session) const {
    const auto found = std::ranges::find(sessions_, &session, &std::shared_ptr<TranslateSession>::get);
    return static_cast<std::size_t>(found - sessions_.begin());
}

void TranslateViewModel::takeUtterance(const TranslateSession& session, Utterance utterance) {
    if (const std::string name = nameOfMicrophone(session); !name.empty()) {
        utterance.sourceName = name;
    }
    recordKeeping_.add(utterance);
    record_.add(std::move(utterance));
}

/// Of the one that was chosen, as the desktop calls it; empty where the session hears none, or the default.
std::string TranslateViewModel::nameOfMicrophone(const TranslateSession& session) const {
    if (session.captureSource() != CaptureSource::mic || session.micDeviceUID().isEmpty()) {
        return {};
    }
    const auto found =
        std::ranges::find(availableMics(), session.micDeviceUID().toStdString(), &AudioInputDevice::id);
    return found == availableMics().end() ? std::string() : found->name;
}

RecordHeader TranslateViewModel::recordHeader() const {
    RecordHeader header;
    header.started = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
    for (std::size_t number = 0; number < sessions_.size(); ++number) {
        const TranslateSession& session = *sessions_[number];
        const std::string microphone = nameOfMicrophone(session);
        header.sources.push_back({static_cast<int>(number),
                                  microphone.empty() ? session.sourceName() : microphone,
                                  session.sourceLang().toStdString(), session.targetLang().toStdString()});
    }
    return header;
}

}  // namespace tarn
