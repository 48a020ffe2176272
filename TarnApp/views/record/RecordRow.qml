import QtQuick
import Tarn.Model
import Tarn.Style

/// One utterance: when and by whom, what was said, and its translation.
Item {
    id: root

    required property int index
    required property string clock
    required property int source
    required property string sourceName
    required property string said
    required property string translation
    required property string gap
    required property bool unspoken
    required property bool chosen
    required property bool current
    readonly property bool hasBoth: said !== "" && translation !== ""
    signal pressed(modifiers: int)

    implicitHeight: texts.height + 2 * Theme.space(1.5)

    Accessible.role: Accessible.ListItem
    Accessible.name: [clock, sourceName, gap, said, translation, unspoken ? Loc.recordUnspoken : ""]
                     .filter(part => part !== "").join(", ")
    Accessible.selectable: true
    Accessible.selected: chosen
    Accessible.focusable: true
    Accessible.focused: current
    Accessible.onPressAction: pressed(Qt.NoModifier)

    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: Theme.space(1.5)
        anchors.rightMargin: Theme.space(3)
        radius: Theme.radiusSmall
        visible: root.chosen || root.current
        color: root.chosen ? Theme.faded(Theme.accent, 0.22) : "transparent"
        border.width: root.current ? Theme.focusWidth : 0
        border.color: Theme.focusRing
    }
    MouseArea {
        anchors.fill: parent
        onPressed: mouse => root.pressed(mouse.modifiers)
    }
    Text {
        id: time
        x: Theme.space(3)
        y: Theme.space(1.5)
        width: 60
        text: root.clock
        textFormat: Text.PlainText
        font.pixelSize: Theme.caption
        color: Theme.secondaryText
    }
    Column {
        id: texts
        x: time.x + time.width + Theme.space(2)
        y: Theme.space(1.5)
        width: root.width - x - Theme.space(5)
        spacing: 2

        Row {
            spacing: Theme.space(1.5)
            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                width: 8
                height: 8
                radius: 4
                color: [Theme.accent, Theme.lightGreen, Theme.lightOrange, Theme.lightRed][root.source % 4]
            }
            Text {
                width: Math.min(implicitWidth, texts.width - 8 - Theme.space(1.5))
                text: root.unspoken ? root.sourceName + " · " + Loc.recordUnspoken : root.sourceName
                textFormat: Text.PlainText
                elide: Text.ElideRight
                font.pixelSize: Theme.caption
                color: Theme.secondaryText
            }
        }
        Text {
            width: parent.width
            visible: root.said !== "" || root.gap !== ""
            text: root.gap !== "" ? root.gap : root.said
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            font.pixelSize: Theme.callout
            color: root.gap !== "" ? Theme.orange : root.hasBoth ? Theme.secondaryText : Theme.primaryText
        }
        Text {
            width: parent.width
            visible: root.translation !== ""
            text: root.translation
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            font.pixelSize: Theme.body
            color: Theme.primaryText
        }
    }
}
