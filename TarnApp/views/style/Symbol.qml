import QtQuick
import Tarn.Style

/// One of the interface's symbols, drawn in one colour.
Text {
    id: root

    required property string name
    property real size: Theme.title3

    text: Symbols.glyph(name)
    font.family: Symbols.family
    font.pixelSize: size
    color: Theme.primaryText
    textFormat: Text.PlainText
    transform: Scale {
        origin.x: root.width / 2
        xScale: root.name === "bubble.right.fill" ? -1 : 1
    }
    Accessible.ignored: true
}
