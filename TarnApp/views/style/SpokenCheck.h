#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAccessible>
#include <QObject>
#include <QQmlParserStatus>

namespace tarn {

/// Whether a screen reader hears that its parent, a button of Qt Quick's, is checked. As soon as a screen
/// reader comes, each of them tells that of its own `checked`, whatever `Accessible.checked` said before;
/// this says it again. Without a screen reader it does nothing. Thread: main.
class SpokenCheck : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(bool checkable READ isCheckable WRITE setCheckable NOTIFY checkableChanged)
    Q_PROPERTY(bool checked READ isChecked WRITE setChecked NOTIFY checkedChanged)

public:
    explicit SpokenCheck(QObject* parent = nullptr);
    ~SpokenCheck() override;

    bool isCheckable() const { return checkable_; }
    bool isChecked() const { return checked_; }
    void setCheckable(bool value);
    void setChecked(bool value);

    void classBegin() override {}
    void componentComplete() override;
    /// Says it, once the button has said its own.
    void sayLater();

Q_SIGNALS:
    void checkableChanged();
    void checkedChanged();

private:
    void say() const;

    bool checkable_ = false;
    bool checked_ = false;
    bool isComplete_ = false;
};

}  // namespace tarn
