import QtQuick
import Tarn.Style

/// Says who is signed in.
Plate {
    id: root

    required property string label

    implicitWidth: row.implicitWidth + Theme.space(7)
    implicitHeight: row.implicitHeight + Theme.space(5)
    radius: root.height / 2
    color: Theme.pure ? "transparent" : Theme.faded(Brand.success, 0.14)
    border.width: Theme.controlEdge
    border.color: Theme.success
    Accessible.role: Accessible.StaticText
    Accessible.name: root.label

    Row {
        id: row
        anchors.centerIn: parent
        spacing: Theme.space(2)
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            name: "checkmark.seal.fill"
            color: Theme.success
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            // An address may be longer than the window is wide.
            width: Math.min(implicitWidth, 380)
            elide: Text.ElideMiddle
            text: root.label
            textFormat: Text.PlainText
            font.pixelSize: Theme.callout
            font.weight: Font.Medium
            color: Theme.success
        }
    }
}
