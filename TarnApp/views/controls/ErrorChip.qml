import QtQuick
import Tarn.Controls
import Tarn.Style

/// What is wrong, on one line; all of it in the tooltip, which the keys reach where the line is not all. It is read
/// over anything, so nothing shows through it.
Plate {
    id: root

    required property string message
    property string details: message
    property string spoken: message     ///< for screen readers, which say each change
    property color ink: Theme.red
    readonly property bool hasMore: line.implicitWidth > line.width || details !== message

    implicitWidth: Math.ceil(mark.width + Theme.space(1) + line.implicitWidth) + 12
    implicitHeight: Math.ceil(Math.max(mark.height, line.implicitHeight)) + 4
    radius: Theme.radiusSmall
    color: Theme.pure ? Theme.panelOpaque : Qt.tint(Theme.panelOpaque, Theme.faded(ink, 0.12))
    border.width: Theme.controlEdge
    border.color: ink

    Accessible.role: Accessible.AlertMessage
    Accessible.name: spoken
    Accessible.description: hasMore ? details : ""
    activeFocusOnTab: hasMore || activeFocus    // Qt takes it from no item that has the keys

    Symbol {
        id: mark
        x: 6
        anchors.verticalCenter: parent.verticalCenter
        name: "exclamationmark.triangle.fill"
        size: Theme.body
        color: root.ink
    }
    Text {
        id: line
        x: mark.x + mark.width + Theme.space(1)
        width: Math.max(0, root.width - x - 6)
        anchors.verticalCenter: parent.verticalCenter
        text: Readouts.oneLine(root.message)
        textFormat: Text.PlainText
        elide: Text.ElideRight
        maximumLineCount: 1
        font.pixelSize: Theme.caption2
        color: root.ink
    }
    HoverHandler {
        id: pointer
    }
    HelpTip {
        text: root.details
        target: root
        hovered: pointer.hovered || root.activeFocus
    }
    FocusRing {
        shown: root.activeFocus
    }
}
