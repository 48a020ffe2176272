#pragma once

#include <QObject>
#include <cstddef>
#include <deque>

#include "TarnCore/record/Utterance.h"

namespace tarn {

/// What all sources of the program have said since it was started, in the order in which it was said, as far
/// as it is kept: the newest `mostUtterances`. Thread: main.
class Record : public QObject {
    Q_OBJECT

public:
    static constexpr std::size_t mostUtterances = 20000;

    /// Puts it behind all that were said before it. Where there are too many, the first goes before.
    void add(Utterance utterance);
    void clear();
    const std::deque<Utterance>& utterances() const { return utterances_; }

Q_SIGNALS:
    void added(int place);  ///< once it is there
    void firstRemoved();    ///< once it is gone
    void cleared();

private:
    std::deque<Utterance> utterances_;
};

}  // namespace tarn
