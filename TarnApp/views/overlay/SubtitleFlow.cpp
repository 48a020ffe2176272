#include "SubtitleFlow.h"

#include <QQuickTextDocument>
#include <QTextBlock>
#include <QTextCursor>
#include <algorithm>
#include <utility>

#include "SubtitleWording.h"

namespace tarn {

void SubtitleFlow::setEdit(QQuickItem* value) {
    if (edit_ == value) {
        return;
    }
    if (edit_ != nullptr) {
        disconnect(edit_, nullptr, this, nullptr);
    }
    edit_ = value;
    document_ = nullptr;
    if (value != nullptr) {
        if (const auto* const held = value->property("textDocument").value<QQuickTextDocument*>()) {
            document_ = held->textDocument();
            document_->setUndoRedoEnabled(false);
        }
        connect(value, SIGNAL(contentSizeChanged()), this, SLOT(linesChanged()));
    }
    put(shown_, 0);
    linesChanged();
    Q_EMIT editChanged();
}

void SubtitleFlow::setText(const QString& value) {
    if (text_ == value) {
        return;
    }
    if (isAnotherSentence(text_, value)) {
        following_ = true;
    }
    text_ = value;
    const qsizetype nowLeftOut = leftOut(value);
    put(shownSubtitle(value.mid(nowLeftOut)), std::max<qsizetype>(nowLeftOut - leftOut_, 0));
    leftOut_ = nowLeftOut;
    linesChanged();
    Q_EMIT textChanged();
}

void SubtitleFlow::put(const QString& shown, qsizetype droppedAtStart) {
    if (document_ == nullptr) {
        shown_ = shown;
        return;
    }
    // The editor would let a selection that reaches to the end grow with the text.
    int selectionStart = edit_->property("selectionStart").toInt();
    int selectionEnd = edit_->property("selectionEnd").toInt();
    QTextCursor cursor(document_);
    QString before = document_->toRawText();
    // The cache keeps the shaped glyphs, so that drawing the lines does not shape them again.
    document_->firstBlock().layout()->setCacheEnabled(true);
    cursor.beginEditBlock();
    if (const auto dropped = static_cast<int>(std::min(droppedAtStart, before.size())); dropped > 0) {
        cursor.setPosition(dropped, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        before.remove(0, dropped);
        selectionStart = std::max(selectionStart - dropped, 0);
        selectionEnd = std::max(selectionEnd - dropped, 0);
    }
    const auto kept = static_cast<int>(commonStart(before, shown));
    cursor.setPosition(kept);
    cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    cursor.insertText(shown.mid(kept));
    cursor.endEditBlock();
    shown_ = shown;
    if (selectionEnd > selectionStart) {
        QMetaObject::invokeMethod(edit_, "select", Q_ARG(int, std::min(selectionStart, kept)),
                                  Q_ARG(int, std::min(selectionEnd, kept)));
    }
}

void SubtitleFlow::setRoom(double value) {
    if (room_ != value) {
        room_ = value;
        measure();
        Q_EMIT roomChanged();
    }
}

const QTextLayout* SubtitleFlow::layout() const {
    return document_ != nullptr ? document_->firstBlock().layout() : nullptr;
}

void SubtitleFlow::linesChanged() {
    measure();
    Q_EMIT laidOut();
}

void SubtitleFlow::measure() {
    const QTextLayout* const lines = layout();
    const int count = lines != nullptr ? lines->lineCount() : 0;
    double all = 0;
    double one = 0;
    double top = 0;
    double baseline = 0;
    if (count > 0) {
        const QTextLine last = lines->lineAt(count - 1);
        all = last.y() + last.height();
        one = last.height();
        // Only whole lines are shown, and the last one always.
        int first = count - 1;
        while (first > 0 && all - lines->lineAt(first - 1).y() <= room_) {
            --first;
        }
        top = first == 0 ? 0 : lines->lineAt(first).y();
        baseline = lines->lineAt(first).y() - top + lines->lineAt(first).ascent();
    }
    if (contentHeight_ != all || lineHeight_ != one) {
        contentHeight_ = all;
        lineHeight_ = one;
        Q_EMIT contentHeightChanged();
    }
    moveTo(all - top, following_ ? top : std::clamp(offset_, 0.0, top), baseline);
}

bool SubtitleFlow::scrollBy(double points) {
    const double end = contentHeight_ - height_;
    if (end <= 0) {
        return false;
    }
    const double offset = std::clamp(offset_ + points, 0.0, end);
    following_ = offset >= end;
    moveTo(height_, offset, baseline_);
    return true;
}

void SubtitleFlow::moveTo(double height, double offset, double baseline) {
    if (height_ != height || offset_ != offset || baseline_ != baseline) {
        height_ = height;
        offset_ = offset;
        baseline_ = baseline;
        Q_EMIT moved();
    }
}

}  // namespace tarn
