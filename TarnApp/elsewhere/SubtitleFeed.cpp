#include "SubtitleFeed.h"

#include <algorithm>

#include "TarnApp/record/ShownUtterance.h"

namespace tarn {
namespace {

ShownSubtitle subtitleOf(const TranslateSession& session) {
    const auto oneLine = [](const std::string& text) { return shownText(text).toStdString(); };
    ShownSubtitle shown{oneLine(session.sourceName())};
    if (session.canStop()) {
        shown.original = oneLine(session.sourceText().toStdString());
        shown.translation = oneLine(session.translationText().toStdString());
    }
    return shown;
}

}  // namespace

SubtitleFeed::SubtitleFeed(TranslateViewModel& vm) : vm_(vm) {
    connect(&vm_, &TranslateViewModel::sessionsChanged, this, &SubtitleFeed::follow);
    follow();
}

void SubtitleFeed::follow() {
    for (const auto& connection : connections_) {
        disconnect(connection);
    }
    connections_.clear();
    sources_.clear();
    for (const auto& session : vm_.sessions()) {
        sources_.push_back(subtitleOf(*session));
        const auto look = [this, raw = session.get()] { this->look(raw); };
        for (const auto signal :
             {&TranslateSession::sourceTextChanged, &TranslateSession::translationTextChanged,
              &TranslateSession::stateChanged, &TranslateSession::captureSourceChanged,
              &TranslateSession::applicationNameChanged}) {
            connections_.push_back(connect(session.get(), signal, this, look));
        }
    }
    Q_EMIT countChanged();
}

void SubtitleFeed::look(const TranslateSession* session) {
    const auto found = std::ranges::find(vm_.sessions(), session, &std::shared_ptr<TranslateSession>::get);
    const auto number = static_cast<std::size_t>(found - vm_.sessions().begin());
    if (number < sources_.size()) {
        ShownSubtitle now = subtitleOf(*session);
        if (sources_[number] != now) {
            sources_[number] = std::move(now);
            Q_EMIT changed(number);
        }
    }
}

}  // namespace tarn
