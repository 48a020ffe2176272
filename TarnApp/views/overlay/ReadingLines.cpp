#include "ReadingLines.h"

#include <QPainter>
#include <QTextBoundaryFinder>
#include <QTextLayout>
#include <algorithm>
#include <cmath>

#include "SubtitleHalo.h"
#include "SubtitleOutline.h"
#include "SubtitleWording.h"

namespace tarn {
namespace {

// Letters of several scripts, whose fonts differ in height: a line has room for the highest.
constexpr const char* tallest = "ÅgÄq中あ한ไทยعربيहि";
// What may stand behind the last word of a line without wrapping.
constexpr const char* closing = "”?!";
constexpr double widest = 1e6;

/// Whether a text stands for sound that is not translated, which is an utterance of its own.
bool isGap(const QString& text) {
    return text.startsWith(u'[');
}

}  // namespace

/// One line as it is drawn. It is shaped as a whole, whatever of it is settled, so that nothing moves when
/// that changes.
struct ReadingLines::LineLayout {
    static double widthOf(const QString& text, const QFont& font) {
        return LineLayout(text, font, false, widest).line().naturalTextWidth();
    }

    LineLayout(const QString& text, const QFont& font, bool isRightToLeft, double width)
        : layout(text, font) {
        QTextOption option(isRightToLeft ? Qt::AlignRight : Qt::AlignLeft);
        option.setTextDirection(isRightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
        option.setWrapMode(QTextOption::NoWrap);
        layout.setTextOption(option);
        layout.setCacheEnabled(true);
        layout.beginLayout();
        QTextLine line = layout.createLine();
        line.setLineWidth(width);
        layout.endLayout();
    }
    QTextLine line() const { return layout.lineAt(0); }

    QTextLayout layout;
};

ReadingLines::ReadingLines(QQuickItem* parent) : QQuickPaintedItem(parent) {
    connect(this, &ReadingLines::changed, this, [this] { update(); });
    measureFont();
}

int ReadingLines::margin() {
    return SubtitleHalo::reach;
}

void ReadingLines::setSession(TranslateSession* value) {
    if (session_ == value) {
        return;
    }
    if (session_) {
        session_->disconnect(this);
    }
    session_ = value;
    forget();
    if (value != nullptr) {
        connect(value, &TranslateSession::translationTextChanged, this, &ReadingLines::hear);
        connect(value, &TranslateSession::translationFinished, this, &ReadingLines::finish);
        // All lines have one direction, which may be another one then.
        connect(value, &TranslateSession::targetLangChanged, this, &ReadingLines::forget);
        hear();
    }
    Q_EMIT ownersChanged();
}

void ReadingLines::forget() {
    heard_.clear();
    settling_.reset();
    reading_.clear();
    show();
}

void ReadingLines::setKeptUtterances(int value) {
    kept_ = value;
    reading_.setKept(value);
    show();
    Q_EMIT changed();
}

void ReadingLines::setFont(const QFont& value) {
    if (font_ != value) {
        font_ = value;
        measureFont();
        breakAnew();
        Q_EMIT changed();
    }
}

void ReadingLines::hear() {
    const QString now = session_->translationText();
    if (!heard_.isEmpty() && (now.isEmpty() || isGap(now) != isGap(heard_))) {
        reading_.finish(shownSubtitle(heard_));
    }
    heard_ = now;
    if (viewModel_ && !now.isEmpty()) {
        reading_.hear(shownSubtitle(now), viewModel_->services().session.clock->now());
        wait();
    }
    show();
}

void ReadingLines::finish(const QString& text) {
    reading_.finish(shownSubtitle(text));
    heard_.clear();
    show();
}

/// Words settle, too, when nothing more is heard.
void ReadingLines::wait() {
    settling_.reset();
    const auto& services = viewModel_->services().session;
    const auto now = services.clock->now();
    if (const auto next = reading_.nextSettling(now)) {
        settling_ =
            services.clock->callAfter(services.main, std::max(*next - now, Clock::Duration(0)), [this] {
                if (viewModel_) {
                    reading_.letSettle(viewModel_->services().session.clock->now());
                    show();
                    wait();
                }
            });
    }
}

void ReadingLines::show() {
    lines_ = reading_.lines();
    update();
    Q_EMIT linesChanged();
}

void ReadingLines::measureFont() {
    const LineLayout sample(QString::fromUtf8(tallest), font_, false, widest);
    baseline_ = std::ceil(sample.line().ascent());
    lineHeight_ = baseline_ + std::ceil(sample.line().descent() + std::max(0.0, sample.line().leading()));
}

void ReadingLines::breakAnew() {
    const double room = width() - 2 * margin();
    if (room > 0) {
        reading_.setRoom(room, LineLayout::widthOf(QString::fromUtf8(closing), font_),
                         [font = font_](const QString& text) { return LineLayout::widthOf(text, font); });
        show();
    }
}

void ReadingLines::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.width() != oldGeometry.width()) {
        breakAnew();
    } else if (newGeometry.height() != oldGeometry.height()) {
        Q_EMIT linesChanged();
        update();
    }
}

/// Only whole lines are seen, and the last one always.
std::size_t ReadingLines::firstSeen() const {
    const double room = height() - 2 * margin();
    const auto seen = static_cast<std::size_t>(std::max(1.0, std::floor(room / lineHeight_ + 1e-6)));
    return lines_.size() > seen ? lines_.size() - seen : 0;
}

QString ReadingLines::text() const {
    QStringList seen;
    for (std::size_t i = firstSeen(); i < lines_.size(); ++i) {
        seen.push_back(lines_[i].text);
    }
    return seen.join(u'\n');
}

std::deque<ReadingLines::LineLayout> ReadingLines::layOutSeen() const {
    std::deque<LineLayout> laid;
    for (std::size_t i = firstSeen(); i < lines_.size(); ++i) {
        laid.emplace_back(lines_[i].text, font_, reading_.isRightToLeft(), width() - 2 * margin());
    }
    return laid;
}

void ReadingLines::draw(QPainter& painter, const std::deque<LineLayout>& laid, const QColor& color,
                        const QColor& dim) const {
    double top = margin();
    for (std::size_t i = 0; i < laid.size(); ++i) {
        const ReadingText::Line& shown = lines_[firstSeen() + i];
        QList<QTextLayout::FormatRange> dimmed;
        const auto dimThis = [&](qsizetype start, qsizetype length) {
            QTextLayout::FormatRange range;
            range.start = static_cast<int>(start);
            range.length = static_cast<int>(length);
            range.format.setForeground(dim);
            dimmed.push_back(range);
        };
        for (const ReadingText::Range& wrong : shown.wrong) {
            dimThis(wrong.start, wrong.length);
        }
        if (shown.firm < shown.text.size()) {
            dimThis(shown.firm, shown.text.size() - shown.firm);
        }
        painter.setPen(color);
        const QPointF at(margin(), top + baseline_ - laid[i].line().ascent());
        laid[i].layout.draw(&painter, at, dimmed);
        top += lineHeight_;
    }
}

void ReadingLines::paint(QPainter* painter) {
    const auto laid = layOutSeen();
    if (isStroked_) {
        SubtitleOutline::clear(letters_, boundingRect().size(), painter->device()->devicePixelRatioF());
        QPainter drawing(&letters_);
        draw(drawing, laid, Qt::black, Qt::black);
        drawing.end();
        SubtitleOutline::drawAround(*painter, letters_, boundingRect(), outlineWidth_);
    }
    draw(*painter, laid, color_, dimColor_);
}

std::vector<ReadingLines::Place> ReadingLines::places() const {
    std::vector<Place> places;
    std::uint64_t number = firstLine();
    for (const LineLayout& laid : layOutSeen()) {
        const ReadingText::Line& shown = lines_[static_cast<std::size_t>(number - reading_.linesGone())];
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, shown.text);
        for (qsizetype at = 0, next = finder.toNextBoundary(); next > at && next <= shown.firm;
             at = next, next = finder.toNextBoundary()) {
            places.push_back(
                {number, at, shown.text.mid(at, next - at), laid.line().cursorToX(static_cast<int>(at))});
        }
        ++number;
    }
    return places;
}

}  // namespace tarn
