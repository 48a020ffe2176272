#include "SubtitlePrinter.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "TarnApp/localization/DurationText.h"
#include "TarnPlatform/base/Text.h"

namespace tarn {

SubtitlePrinter::SubtitlePrinter(TranslateViewModel& model) : model_(model) {
    connect(&model, &TranslateViewModel::sessionsChanged, this, &SubtitlePrinter::follow);
    follow();
}

bool SubtitlePrinter::isWanted() {
    const char* const value = std::getenv("TARN_PRINT_SUBTITLES");
    return value != nullptr && std::string_view(value) == "1";
}

void SubtitlePrinter::follow() {
    for (const auto& shared : model_.sessions()) {
        TranslateSession* const session = shared.get();
        disconnect(session, nullptr, this, nullptr);
        connect(session, &TranslateSession::sourceFinished, this,
                [this, session](const QString& text) { print(*session, "source", text); });
        connect(session, &TranslateSession::translationFinished, this,
                [this, session](const QString& text) { print(*session, "translation", text); });
        connect(session, &TranslateSession::soundMissed, this, [this, session](double seconds) {
            print(*session, "gap", QString::fromStdString(notTranslatedText(seconds, AppLanguage::shown())));
        });
    }
}

void SubtitlePrinter::print(const TranslateSession& session, const char* kind, const QString& text) const {
    std::string line;
    const auto& all = model_.sessions();
    if (all.size() > 1) {
        const auto at = std::ranges::find_if(all, [&](const auto& one) { return one.get() == &session; });
        line = std::to_string(at - all.begin() + 1) + " ";
    }
    line += std::string(kind) + ": " + printable(text.toStdString()) + "\n";
    std::fputs(line.c_str(), stdout);
    std::fflush(stdout);
}

}  // namespace tarn
