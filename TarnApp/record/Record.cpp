#include "Record.h"

#include <algorithm>
#include <utility>

namespace tarn {

void Record::add(Utterance utterance) {
    if (utterances_.size() >= mostUtterances) {
        utterances_.pop_front();
        Q_EMIT firstRemoved();
    }
    const auto place = std::ranges::upper_bound(utterances_, utterance.saidAt, {}, &Utterance::saidAt);
    const auto there = utterances_.insert(place, std::move(utterance));
    Q_EMIT added(static_cast<int>(there - utterances_.begin()));
}

void Record::clear() {
    utterances_.clear();
    Q_EMIT cleared();
}

}  // namespace tarn
