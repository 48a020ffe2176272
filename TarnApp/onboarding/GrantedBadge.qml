import QtQuick
import Tarn.Model
import Tarn.Style

/// A permission is given. With other words, and smaller, where something is left to be done.
Row {
    id: root

    property string label: Loc.permGranted
    property int size: Theme.callout

    spacing: Theme.space(1)
    Accessible.role: Accessible.StaticText
    Accessible.name: root.label

    Symbol {
        anchors.verticalCenter: parent.verticalCenter
        name: "checkmark.circle.fill"
        size: root.size + 4
        color: Theme.success
    }
    Text {
        anchors.verticalCenter: parent.verticalCenter
        text: root.label
        textFormat: Text.PlainText
        font.pixelSize: root.size
        color: Theme.success
    }
}
