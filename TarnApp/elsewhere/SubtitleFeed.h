#pragma once

#include <QObject>
#include <cstddef>
#include <string>
#include <vector>

#include "TarnApp/session/TranslateViewModel.h"

namespace tarn {

/// What one source shows now. Texts are UTF-8 in one line; empty while nothing runs.
struct ShownSubtitle {
    std::string name;  ///< of the source, as people know it
    std::string original{};
    std::string translation{};
    bool operator==(const ShownSubtitle&) const = default;
};

/// The subtitles of all sources as they are now, for whoever shows them outside of the window. Thread: main.
class SubtitleFeed : public QObject {
    Q_OBJECT

public:
    /// `vm` must outlive this.
    explicit SubtitleFeed(TranslateViewModel& vm);

    const std::vector<ShownSubtitle>& sources() const { return sources_; }

Q_SIGNALS:
    void changed(std::size_t source);  ///< one of them; `sources` has it already
    void countChanged();               ///< sources came or went

private:
    void follow();
    void look(const TranslateSession* session);

    TranslateViewModel& vm_;
    std::vector<ShownSubtitle> sources_;
    std::vector<QMetaObject::Connection> connections_;
};

}  // namespace tarn
