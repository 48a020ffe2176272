import QtQuick
import Tarn.Style

/// A small button that is only text.
Pressable {
    id: root

    implicitWidth: Math.ceil(implicitContentWidth + 2 * padding)
    implicitHeight: Math.ceil(implicitContentHeight + 2 * padding)
    padding: Theme.space(1)

    background: Plate {
        radius: Theme.radiusSmall
        color: root.down ? Theme.fillPressed : root.hovered ? Theme.fill : "transparent"
        border.width: root.visualFocus ? Theme.focusWidth : Theme.controlEdge
        border.color: root.visualFocus ? Theme.focusRing : Theme.hairline
    }
    contentItem: Text {
        text: root.text
        textFormat: Text.PlainText
        font.pixelSize: Theme.caption
        font.underline: root.hovered
        color: Theme.accent
    }
}
