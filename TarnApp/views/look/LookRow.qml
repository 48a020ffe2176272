import QtQuick
import Tarn.Style

/// A name, and what is chosen behind it.
Item {
    id: root

    required property string label
    default property alias content: place.data

    implicitHeight: Math.max(Theme.controlHeight, place.childrenRect.height)

    Text {
        anchors.verticalCenter: parent.verticalCenter
        width: place.x - Theme.space(2)
        text: root.label
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        font.pixelSize: Theme.caption
        color: Theme.primaryText
    }
    Item {
        id: place
        x: 140
        width: root.width - x
        height: childrenRect.height
        anchors.verticalCenter: parent.verticalCenter
    }
}
