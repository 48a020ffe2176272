import QtQuick
import Tarn.Style

/// A tooltip in a window of its own, so that a small overlay does not cut it off. It never takes the pointer or the
/// keys.
Window {
    id: root

    required property string text
    required property Item target
    readonly property rect at: placer.frame(width, height, Theme.space(1))

    flags: Qt.ToolTip | Qt.FramelessWindowHint | Qt.WindowTransparentForInput | Qt.WindowDoesNotAcceptFocus
    transientParent: target.Window.window
    color: "transparent"
    width: Math.ceil(label.width + Theme.space(4))
    height: Math.ceil(label.height + Theme.space(2.5))
    x: Math.round(at.x)
    y: Math.round(at.y)
    visible: false

    PopoverGuard {
        id: placer
        anchor: root.target
    }
    Timer {
        interval: Theme.tipDelay
        running: true
        onTriggered: root.visible = true
    }
    Plate {
        anchors.fill: parent
        radius: Appearance.translucent ? Theme.radiusControl : 0
        color: Theme.popover
        border.color: Theme.hairline
        Text {
            id: label
            x: Theme.space(2)
            y: Theme.space(1.25)
            width: Math.min(implicitWidth, Theme.tipWidth)
            text: root.text
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            maximumLineCount: 20
            elide: Text.ElideRight
            font.pixelSize: Theme.caption
            color: Theme.primaryText
        }
    }
}
