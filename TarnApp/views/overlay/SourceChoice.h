#pragma once

#include <QtQml/qqmlregistration.h>
#include <QVariantList>
#include <memory>
#include <optional>

#include "TarnApp/views/model/Followers.h"

namespace tarn {

/// What one session captures, as its row shows and changes it; and the reconnecting of that session when a
/// setting that its row shows has changed, whoever changed it. Thread: main.
class SourceChoice : public SessionFollower {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString symbol READ symbol NOTIFY changed)
    Q_PROPERTY(QString sourceHelp READ sourceHelp NOTIFY changed)
    /// Of the application that is captured; empty where there is none to show.
    Q_PROPERTY(QString applicationName READ applicationName NOTIFY changed)
    /// The menu, in its order: {kind: "heading", "note", "entry" or "divider"; text, symbol, chosen, enabled;
    /// stays: the menu is not closed by it} each.
    Q_PROPERTY(QVariantList rows READ rows NOTIFY changed)

public:
    using SessionFollower::SessionFollower;

    QString symbol() const;
    QString sourceHelp() const;
    QString applicationName() const;
    QVariantList rows() const;

    /// The menu is about to be seen: asks which applications there are.
    Q_INVOKABLE void opened();
    /// Takes the row's choice. Ignored for a row that is none.
    Q_INVOKABLE void choose(int row);

Q_SIGNALS:
    void changed();

private:
    void modelReplaced(TranslateViewModel* model) override;
    void sessionReplaced(TranslateSession* session) override;
    struct Row;
    /// The settings whose change restarts a run.
    struct Settings {
        QString sourceLang;
        QString targetLang;
        QString voiceClone;
        CaptureSource captureSource;
        QString micDeviceUID;
        QString applicationBundleID;
    };

    std::vector<Row> list() const;
    Settings current() const;
    void settingChanged();
    void reconnectSoon();

    std::optional<Settings> seen_;
    std::shared_ptr<bool> isReconnectDue_ = std::make_shared<bool>(false);
};

}  // namespace tarn
