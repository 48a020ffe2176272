import QtQuick
import QtQuick.Layouts
import Tarn.Style

/// A line of a menu, inside a MenuColumn: an entry with a symbol and a mark where it is the chosen one, a heading, a
/// note in the place of entries, or a divider. The keys move among the entries, and so does the pointer once it moves.
Pressable {
    id: root

    property string symbol
    property string note            ///< what is to be known before it is chosen
    property bool chosen: false
    property bool markable: true    ///< keeps room for the mark
    property string kind: "entry"   ///< "entry", "heading", "note", "divider"
    readonly property bool pointed: hovered && (Window.window === null || Window.window.pointerMoved !== false)

    onPointedChanged: if (pointed) forceActiveFocus(Qt.MouseFocusReason)

    Layout.fillWidth: true
    implicitWidth: kind === "divider" ? 1 : Math.ceil(implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: kind === "divider" ? 9 : kind === "heading" ? 24 : 28
    leftPadding: Theme.space(1.5)
    rightPadding: Theme.space(3)
    enabled: kind === "entry"
    opacity: kind === "entry" && !enabled ? Theme.disabledOpacity : 1

    Accessible.ignored: kind !== "entry"
    Accessible.role: Accessible.MenuItem
    Accessible.name: note === "" ? text : text + ", " + note
    Accessible.checkable: kind === "entry" && markable
    Accessible.checked: chosen
    Accessible.onToggleAction: press()

    background: Plate {
        radius: Theme.radiusMenuRow
        color: root.kind !== "entry" ? "transparent"
                                     : root.down ? Theme.fillPressed
                                                 : root.activeFocus ? Theme.fillHovered : "transparent"
        border.width: root.visualFocus || (Theme.pure && root.activeFocus) ? Theme.focusWidth : 0
        border.color: Theme.focusRing
        Divider {
            visible: root.kind === "divider"
            x: Theme.space(1.5)
            y: 4
            width: parent.width - 2 * x
        }
    }
    contentItem: Row {
        visible: root.kind !== "divider"
        spacing: Theme.space(1.5)
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            name: "checkmark"
            size: 16
            opacity: root.chosen ? 1 : 0
            visible: root.kind === "entry" && root.markable
        }
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            visible: root.symbol !== ""
            name: root.symbol
            size: Theme.title3
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, Theme.menuTextWidth)
            text: root.text
            textFormat: Text.PlainText
            elide: Text.ElideRight
            maximumLineCount: 1
            font.pixelSize: root.kind === "heading" ? Theme.caption : Theme.callout
            font.weight: root.kind === "heading" ? Font.DemiBold : Font.Normal
            color: root.kind !== "entry" || root.note !== "" ? Theme.secondaryText : Theme.primaryText
            Accessible.ignored: root.kind === "entry"
            Accessible.role: root.kind === "heading" ? Accessible.Heading : Accessible.StaticText
            Accessible.name: text
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            visible: root.note !== ""
            text: root.note
            textFormat: Text.PlainText
            font.pixelSize: Theme.caption
            color: Theme.secondaryText
            Accessible.ignored: true
        }
    }
    HelpTip {
        text: root.help
        target: root
        hovered: root.hovered
    }
    SpokenCheck {
        checkable: root.kind === "entry" && root.markable
        checked: root.chosen
    }
    Keys.onPressed: event => event.accepted = MenuWalk.step(root, event.key, event.text)
}
