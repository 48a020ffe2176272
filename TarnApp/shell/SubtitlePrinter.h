#pragma once

#include <QObject>

#include "TarnApp/session/TranslateViewModel.h"

namespace tarn {

/// Writes each finished subtitle to standard output, a line each: "source: …" and "translation: …" (and
/// "gap: …" for what was never translated), with the number of its source in front where there are several.
/// Only where the user asks for it (TARN_PRINT_SUBTITLES is "1"): spoken words go nowhere by themselves.
/// Thread: main.
class SubtitlePrinter : public QObject {
    Q_OBJECT

public:
    /// `model` must outlive this.
    explicit SubtitlePrinter(TranslateViewModel& model);

    static bool isWanted();

private:
    void follow();
    void print(const TranslateSession& session, const char* kind, const QString& text) const;

    TranslateViewModel& model_;
};

}  // namespace tarn
