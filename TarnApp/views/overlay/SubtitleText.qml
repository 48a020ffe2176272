import QtQuick
import Tarn.Model
import Tarn.Overlay
import Tarn.Style

/// One text, selectable, of which the last lines that fit are seen. The wheel and the keys scroll back in it.
Item {
    id: root

    required property string text
    required property bool isEmpty
    required property real fontSize
    required property int weight
    required property bool stroked
    property string ink                 ///< the colour that the user chose for it; empty: none
    property real room: 100000          ///< the height that there is for it
    readonly property real naturalHeight: flow.contentHeight
    readonly property real lineHeight: flow.lineHeight
    readonly property real firstBaseline: flow.baseline
    readonly property SubtitleFlow flow: flow
    readonly property TextEdit edit: edit

    implicitHeight: flow.height

    SubtitleFlow {
        id: flow
        edit: edit
        room: root.room
        text: root.text
    }
    WheelHandler {
        enabled: flow.contentHeight > flow.height
        onWheel: event => flow.scrollBy(-event.angleDelta.y / 4)
    }
    HoverHandler {
        id: pointer
    }
    Item {
        id: view
        // Letters may lean out of their line.
        x: -1
        y: -1
        width: root.width + 2
        height: root.height + 2
        clip: true

        TextEdit {
            id: edit
            x: 1
            y: 1 - flow.offset
            width: root.width
            readOnly: true
            selectByMouse: true
            selectByKeyboard: true
            persistentSelection: true
            activeFocusOnTab: true
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.Wrap
            font: Look.font(Look.fontFamily, Math.round(root.fontSize), Look.weight || root.weight)
            color: root.ink !== "" && !root.isEmpty ? root.ink : root.stroked ? (root.isEmpty ? Theme.overPictureFaint : Theme.overPicture)
                                : root.isEmpty ? Theme.secondaryText : Theme.primaryText
            // Undefined: where the text's own direction begins.
            horizontalAlignment: Look.alignment === "center" ? TextEdit.AlignHCenter
                                 : Look.alignment === "end" ? TextEdit.AlignRight : undefined
            selectionColor: Theme.faded(Theme.accent, 0.5)
            selectedTextColor: color
            // Beside short lines a press is for the window behind.
            containmentMask: Item {
                width: edit.effectiveHorizontalAlignment === TextEdit.AlignLeft ? edit.contentWidth + 4
                                                                                : edit.width
                height: edit.height
            }
            Accessible.role: Accessible.StaticText
            Accessible.name: root.text
            Accessible.readOnly: true

            Keys.onPressed: event => {
                const line = root.fontSize * 1.2
                const by = event.modifiers !== Qt.NoModifier ? 0
                         : event.key === Qt.Key_Up ? -line
                         : event.key === Qt.Key_Down ? line
                         : event.key === Qt.Key_PageUp ? -root.height
                         : event.key === Qt.Key_PageDown ? root.height
                         : event.key === Qt.Key_Home ? -flow.contentHeight
                         : event.key === Qt.Key_End ? flow.contentHeight : 0
                if (by !== 0 && flow.scrollBy(by))
                    event.accepted = true
            }
        }
    }
    Plate {
        anchors.fill: parent
        anchors.margins: -2
        visible: edit.activeFocus && !pointer.hovered
        color: "transparent"
        radius: Theme.radiusSmall
        border.width: Theme.focusWidth
        border.color: Theme.focusRing
    }
}
