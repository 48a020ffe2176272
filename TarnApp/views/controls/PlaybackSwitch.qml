import QtQuick
import Tarn.Style

/// A name and a switch at the right end of the panel's width.
Item {
    id: root

    required property string label
    required property string help
    required property bool current
    signal changed(value: bool)

    implicitWidth: text.implicitWidth + Theme.space(3) + toggle.implicitWidth
    implicitHeight: Math.max(text.implicitHeight, toggle.implicitHeight)

    Text {
        id: text
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width - toggle.width - Theme.space(3)
        text: root.label
        textFormat: Text.PlainText
        elide: Text.ElideRight
        font.pixelSize: Theme.caption
        color: Theme.primaryText
    }
    ToggleSwitch {
        id: toggle
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        name: root.label
        help: root.help
        checked: root.current
        onToggled: {
            root.changed(checked)
            checked = Qt.binding(() => root.current)
        }
    }
}
