#pragma once

#include <QtQml/qqmlregistration.h>
#include <QPointer>
#include <QQuickItem>
#include <QTextDocument>
#include <QTextLayout>

namespace tarn {

/// Puts a text that grows and changes into a read-only `TextEdit`, touching only what has changed, so that a
/// selection in the rest stays; and keeps its newest lines in view, until the user scrolls back, and again
/// from the next sentence on. Thread: main.
class SubtitleFlow : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickItem* edit READ edit WRITE setEdit NOTIFY editChanged REQUIRED)  ///< the `TextEdit`
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    Q_PROPERTY(double room READ room WRITE setRoom NOTIFY roomChanged)  ///< the height that there is, points
    /// Of all lines.
    Q_PROPERTY(double contentHeight READ contentHeight NOTIFY contentHeightChanged)
    Q_PROPERTY(double lineHeight READ lineHeight NOTIFY contentHeightChanged)  ///< of the last line
    /// Of the last lines that are seen whole in `room`; of one at least.
    Q_PROPERTY(double height READ height NOTIFY moved)
    Q_PROPERTY(double offset READ offset NOTIFY moved)  ///< how far the text is scrolled
    Q_PROPERTY(
        double baseline READ baseline NOTIFY moved)  ///< of the first line seen, when not scrolled back

public:
    explicit SubtitleFlow(QObject* parent = nullptr) : QObject(parent) {}

    QQuickItem* edit() const { return edit_; }
    void setEdit(QQuickItem* value);
    QString text() const { return text_; }
    void setText(const QString& value);
    double room() const { return room_; }
    void setRoom(double value);

    double contentHeight() const { return contentHeight_; }
    double lineHeight() const { return lineHeight_; }
    double height() const { return height_; }
    double offset() const { return offset_; }
    double baseline() const { return baseline_; }

    /// Down is positive. Scrolling to the end follows it again. False where there is nothing to scroll.
    Q_INVOKABLE bool scrollBy(double points);

    /// The text's layout, for drawing it; nothing without a text editor.
    const QTextLayout* layout() const;

Q_SIGNALS:
    void editChanged();
    void textChanged();
    void roomChanged();
    void contentHeightChanged();
    void moved();
    void laidOut();  ///< the lines may have changed

private Q_SLOTS:
    void linesChanged();

private:
    void put(const QString& shown, qsizetype droppedAtStart);
    void measure();
    void moveTo(double height, double offset, double baseline);

    QPointer<QQuickItem> edit_;
    QPointer<QTextDocument> document_;
    QString text_;
    QString shown_;
    qsizetype leftOut_ = 0;
    double room_ = 0;
    double contentHeight_ = 0;
    double lineHeight_ = 0;
    double height_ = 0;
    double offset_ = 0;
    double baseline_ = 0;
    bool following_ = true;
};

}  // namespace tarn
