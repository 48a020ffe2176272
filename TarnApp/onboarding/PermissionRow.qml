import QtQuick
import Tarn.Onboarding
import Tarn.Style

/// A permission: its glyph, what it is for, and at the right edge what can be done about it.
Item {
    id: root

    required property string glyph
    required property color glyphColor
    required property string name
    required property string desc
    default property alias trailing: slot.data

    implicitHeight: Math.max(tile.height, texts.height, slot.height) + 2 * Theme.space(4)

    Plate {
        id: tile
        x: Theme.space(4)
        anchors.verticalCenter: parent.verticalCenter
        width: 40
        height: 40
        radius: Theme.radiusPanel
        color: Theme.discTop
        lower: Theme.discBottom
        Symbol {
            anchors.centerIn: parent
            name: root.glyph
            size: 22
            color: root.glyphColor
        }
    }
    Column {
        id: texts
        anchors.left: tile.right
        anchors.right: slot.left
        anchors.margins: Theme.space(3.5)
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2
        Accessible.role: Accessible.StaticText
        Accessible.name: root.name
        Accessible.description: root.desc
        Text {
            width: parent.width
            text: root.name
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            font.pixelSize: Theme.body
            font.weight: Font.DemiBold
            color: Theme.primaryText
        }
        Text {
            width: parent.width
            text: root.desc
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            font.pixelSize: Theme.caption
            color: Theme.secondaryText
        }
    }
    Item {
        id: slot
        anchors.right: parent.right
        anchors.rightMargin: Theme.space(4)
        anchors.verticalCenter: parent.verticalCenter
        width: childrenRect.width
        height: childrenRect.height
    }
}
