import QtQuick
import Tarn.Style
import QtQuick.Templates as T

/// A small button that is only text.
T.AbstractButton {
    id: root

    function press(): void {
        if (enabled)
            clicked()
    }

    implicitWidth: Math.ceil(implicitContentWidth + 2 * padding)
    implicitHeight: Math.ceil(implicitContentHeight + 2 * padding)
    padding: Theme.space(1)
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    opacity: enabled ? 1 : Theme.disabledOpacity

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: press()

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
    Keys.onReturnPressed: press()
    Keys.onEnterPressed: press()
}
