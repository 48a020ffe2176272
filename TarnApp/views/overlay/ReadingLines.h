#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QFont>
#include <QImage>
#include <QPointer>
#include <QQuickPaintedItem>
#include <deque>
#include <memory>
#include <vector>

#include "TarnApp/reading/ReadingText.h"
#include "TarnApp/session/TranslateViewModel.h"

namespace tarn {

/// The latest translations of a session, drawn in lines of one height so that settled words never move: they
/// stay on their line and at their place on it, and lines go up by whole lines. What may still change, or has
/// turned out to be wrong, is drawn in a dimmer colour. Thread: main. Requires: the view model outlives it.
class ReadingLines : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tarn::TranslateViewModel* viewModel MEMBER viewModel_ NOTIFY ownersChanged REQUIRED)
    Q_PROPERTY(tarn::TranslateSession* session READ session WRITE setSession NOTIFY ownersChanged REQUIRED)
    Q_PROPERTY(int keptUtterances READ keptUtterances WRITE setKeptUtterances NOTIFY changed)
    Q_PROPERTY(QFont font READ font WRITE setFont NOTIFY changed)
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY changed)
    Q_PROPERTY(QColor dimColor MEMBER dimColor_ NOTIFY changed)
    Q_PROPERTY(bool stroked MEMBER isStroked_ NOTIFY changed)  ///< outlined, for lying over any picture
    Q_PROPERTY(int outlineWidth MEMBER outlineWidth_ NOTIFY changed)
    Q_PROPERTY(double lineHeight READ lineHeight NOTIFY changed)  ///< of every line, points
    Q_PROPERTY(int lineCount READ lineCount NOTIFY linesChanged)
    Q_PROPERTY(QString text READ text NOTIFY linesChanged)  ///< all lines that are seen
    Q_PROPERTY(int margin READ margin CONSTANT)  ///< around the lines, for what is drawn around them

public:
    /// A settled character as people count them, where it is drawn; for measuring.
    struct Place {
        std::uint64_t line = 0;  ///< counted from the first one ever
        qsizetype at = 0;        ///< in the line's text
        QString character;
        double x = 0;  ///< where it begins
    };

    explicit ReadingLines(QQuickItem* parent = nullptr);

    TranslateSession* session() const { return session_; }
    void setSession(TranslateSession* value);
    int keptUtterances() const { return kept_; }
    void setKeptUtterances(int value);
    const QFont& font() const { return font_; }
    void setFont(const QFont& value);
    double lineHeight() const { return lineHeight_; }
    int lineCount() const { return static_cast<int>(lines_.size()); }
    QString text() const;
    static int margin();
    void paint(QPainter* painter) override;

    /// Of all settled characters that are seen.
    std::vector<Place> places() const;
    std::uint64_t firstLine() const { return reading_.linesGone() + firstSeen(); }  ///< that is seen

Q_SIGNALS:
    void ownersChanged();
    void changed();
    void linesChanged();

protected:
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;

private:
    void forget();
    void hear();
    void finish(const QString& text);
    void wait();
    void show();
    void measureFont();
    void breakAnew();
    std::size_t firstSeen() const;
    struct LineLayout;
    std::deque<LineLayout> layOutSeen() const;
    void draw(QPainter& painter, const std::deque<LineLayout>& laid, const QColor& color,
              const QColor& dim) const;

    QPointer<TranslateViewModel> viewModel_;
    QPointer<TranslateSession> session_;
    ReadingText reading_;
    std::vector<ReadingText::Line> lines_;
    QString heard_;  ///< of the current utterance
    std::unique_ptr<ScheduledCall> settling_;
    int kept_ = 3;
    QFont font_;
    QColor color_{Qt::white};
    QColor dimColor_{Qt::gray};
    bool isStroked_ = false;
    int outlineWidth_ = 1;
    double lineHeight_ = 0;
    double baseline_ = 0;  ///< of a line, from its top
    QImage letters_;       ///< kept for the next drawing
};

}  // namespace tarn
