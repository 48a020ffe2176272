#include "SourceChoice.h"

#include <boost/asio/post.hpp>
#include <functional>
#include <utility>

#include "TarnApp/localization/LocKey.h"
#include "TarnApp/views/controls/Readouts.h"
#include "TarnApp/views/model/ViewTypes.h"

namespace tarn {
namespace {

struct SourceLook {
    CaptureSource source;
    const char* symbol;
    LocKey text;
};

constexpr SourceLook looks[] = {
    {CaptureSource::system, "speaker.wave.2.fill", LocKey::systemAudioAll},
    {CaptureSource::mic, "mic.fill", LocKey::microphone},
    {CaptureSource::application, "app.fill", LocKey::captureSingleApp},
};

const SourceLook& lookOf(CaptureSource source) {
    return looks[static_cast<std::size_t>(source)];
}

}  // namespace

struct SourceChoice::Row {
    QString kind{};
    QString text{};
    QString symbol{};
    bool isChosen = false;
    bool stays = false;
    std::function<void(TranslateViewModel&, TranslateSession&)> take{};

    static Row heading(LocKey key) { return {.kind = "heading", .text = shown(key)}; }
    static Row divider() { return {.kind = "divider"}; }
};

void SourceChoice::modelReplaced(TranslateViewModel* model) {
    if (model != nullptr) {
        connect(model, &TranslateViewModel::availableMicsChanged, this, &SourceChoice::changed);
        connect(model, &TranslateViewModel::availableAppsChanged, this, &SourceChoice::changed);
    }
    if (Loc::manager != nullptr) {
        connect(Loc::manager, &LocalizationManager::languageChanged, this, &SourceChoice::changed,
                Qt::UniqueConnection);
    }
    Q_EMIT changed();
}

void SourceChoice::sessionReplaced(TranslateSession* session) {
    seen_.reset();
    if (session != nullptr) {
        seen_ = current();
        for (const auto signal :
             {&TranslateSession::sourceLangChanged, &TranslateSession::targetLangChanged,
              &TranslateSession::voiceCloneChanged, &TranslateSession::captureSourceChanged,
              &TranslateSession::micDeviceUIDChanged, &TranslateSession::applicationBundleIDChanged,
              &TranslateSession::applicationNameChanged}) {
            connect(session, signal, this, &SourceChoice::settingChanged);
        }
    }
    Q_EMIT changed();
}

QString SourceChoice::symbol() const {
    return session() != nullptr ? lookOf(session()->captureSource()).symbol : QString();
}

QString SourceChoice::sourceHelp() const {
    if (session() == nullptr) {
        return {};
    }
    if (session()->captureSource() != CaptureSource::application) {
        return shown(lookOf(session()->captureSource()).text);
    }
    const QString name = applicationName();
    return shown(LocKey::sourceApplication) + ": " +
           (name.isEmpty() ? shown(LocKey::captureSingleApp) : name);
}

QString SourceChoice::applicationName() const {
    return session() != nullptr && session()->captureSource() == CaptureSource::application
               ? Readouts::oneLine(session()->applicationName())
               : QString();
}

std::vector<SourceChoice::Row> SourceChoice::list() const {
    std::vector<Row> rows;
    if (session() == nullptr || viewModel() == nullptr) {
        return rows;
    }
    rows.push_back(Row::heading(LocKey::captureSource));
    for (const auto& look : looks) {
        const CaptureSource source = look.source;
        rows.push_back(
            {.kind = "entry",
             .text = shown(look.text),
             .symbol = look.symbol,
             .isChosen = session()->captureSource() == source,
             .stays = source != CaptureSource::system,  // the user has yet to choose from its section
             .take = [source](TranslateViewModel&, TranslateSession& session) {
                 session.setCaptureSource(source);
             }});
    }
    if (session()->captureSource() == CaptureSource::mic) {
        rows.push_back(Row::divider());
        rows.push_back(Row::heading(LocKey::micDevices));
        const auto addDevice = [&](const QString& name, const QString& uid) {
            rows.push_back({.kind = "entry",
                            .text = name,
                            .isChosen = session()->micDeviceUID() == uid,
                            .take = [uid](TranslateViewModel&, TranslateSession& session) {
                                session.setMicDeviceUID(uid);
                            }});
        };
        addDevice(shown(LocKey::systemDefault), "");
        for (const auto& mic : viewModel()->availableMics()) {
            addDevice(QString::fromStdString(mic.name), QString::fromStdString(mic.id));
        }
        rows.push_back({.kind = "entry",
                        .text = shown(LocKey::refreshDevices),
                        .symbol = "arrow.clockwise",
                        .stays = true,
                        .take = [](TranslateViewModel& model, TranslateSession&) { model.refreshMics(); }});
    } else if (session()->captureSource() == CaptureSource::application) {
        rows.push_back(Row::divider());
        rows.push_back(Row::heading(LocKey::captureSingleApp));
        if (viewModel()->availableApps().empty()) {
            rows.push_back({.kind = "note", .text = viewModel()->noAppsText()});
        }
        for (const auto& app : viewModel()->availableApps()) {
            const auto bundleID = QString::fromStdString(app.bundleID);
            const auto name = QString::fromStdString(app.name);
            rows.push_back({.kind = "entry",
                            .text = Readouts::oneLine(name),
                            .isChosen = session()->applicationBundleID() == bundleID,
                            .take = [bundleID, name](TranslateViewModel&, TranslateSession& session) {
                                session.setCaptureSource(CaptureSource::application);
                                session.setApplicationBundleID(bundleID);
                                session.setApplicationName(name);
                            }});
        }
        rows.push_back({.kind = "entry",
                        .text = shown(LocKey::refreshAppList),
                        .symbol = "arrow.clockwise",
                        .stays = true,
                        .take = [](TranslateViewModel& model, TranslateSession&) { model.refreshApps(); }});
    }
    return rows;
}

QVariantList SourceChoice::rows() const {
    QVariantList shownRows;
    for (const auto& row : list()) {
        shownRows.append(QVariantMap{{"kind", row.kind},
                                     {"text", row.text},
                                     {"symbol", row.symbol},
                                     {"chosen", row.isChosen},
                                     {"stays", row.stays}});
    }
    return shownRows;
}

void SourceChoice::opened() {
    if (viewModel() != nullptr) {
        viewModel()->refreshApps();
    }
}

void SourceChoice::choose(int row) {
    const auto rows = list();
    if (row >= 0 && static_cast<std::size_t>(row) < rows.size()) {
        if (const auto& take = rows[static_cast<std::size_t>(row)].take) {
            take(*viewModel(), *session());
        }
    }
}

SourceChoice::Settings SourceChoice::current() const {
    return {session()->sourceLang(),    session()->targetLang(),   session()->voiceClone(),
            session()->captureSource(), session()->micDeviceUID(), session()->applicationBundleID()};
}

void SourceChoice::settingChanged() {
    const Settings before = std::exchange(seen_, current()).value();
    const Settings& now = *seen_;
    const bool isMic = now.captureSource == CaptureSource::mic;
    const bool isApplication = now.captureSource == CaptureSource::application;
    if (before.sourceLang != now.sourceLang || before.targetLang != now.targetLang ||
        before.voiceClone != now.voiceClone || before.captureSource != now.captureSource ||
        (isMic && before.micDeviceUID != now.micDeviceUID) ||
        (isApplication && before.applicationBundleID != now.applicationBundleID)) {
        reconnectSoon();
    }
    Q_EMIT changed();
}

void SourceChoice::reconnectSoon() {
    // A choice that sets several fields is to reconnect once, with all of them.
    if (std::exchange(*isReconnectDue_, true)) {
        return;
    }
    asio::post(viewModel()->services().session.main,
               [model = viewModel()->weak_from_this(), session = session()->weak_from_this(),
                isDue = isReconnectDue_] {
                   *isDue = false;
                   const auto lockedModel = model.lock();
                   const auto lockedSession = session.lock();
                   if (lockedModel && lockedSession) {
                       lockedModel->reconnect(lockedSession);
                   }
               });
}

}  // namespace tarn
