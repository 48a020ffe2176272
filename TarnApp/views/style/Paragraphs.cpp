#include "Paragraphs.h"

#include <QTextLayout>
#include <cmath>

namespace tarn {
namespace {

int linesIn(QTextLayout& layout, qreal width) {
    int count = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        ++count;
    }
    layout.endLayout();
    return count;
}

}  // namespace

// The number of lines never grows with the width, so a binary search finds the narrowest width, to a point.
qreal Paragraphs::balancedWidth(const QString& text, const QFont& font, qreal room) {
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setUseDesignMetrics(true);  // QML's `Text` does the same
    layout.setTextOption(option);
    const int lines = linesIn(layout, room);
    qreal tooNarrow = 0;
    qreal enough = room;
    while (lines > 1 && enough - tooNarrow > 1) {
        const qreal middle = std::floor((tooNarrow + enough) / 2);
        (linesIn(layout, middle) > lines ? tooNarrow : enough) = middle;
    }
    return enough;
}

}  // namespace tarn
