import QtQuick
import Tarn.Style

/// A button with a title, a symbol or both. A title that has less room than it wants ends in an ellipsis.
Pressable {
    id: root

    property string symbol
    property bool symbolTrails: false
    property bool prominent: false
    property bool busy: false       ///< a spinner in the symbol's place
    property color tint: Theme.accent
    property color tintInk: Theme.accentInk
    property real minimumWidth: 0
    readonly property color ink: prominent ? tintInk : Theme.primaryText

    implicitWidth: Math.ceil(Math.max(minimumWidth, implicitContentWidth + leftPadding + rightPadding))
    implicitHeight: Math.ceil(Math.max(Theme.controlHeight, implicitContentHeight + topPadding + bottomPadding))
    leftPadding: Theme.space(3)
    rightPadding: Theme.space(3)
    topPadding: Theme.space(1)
    bottomPadding: Theme.space(1)
    font.pixelSize: Theme.callout
    font.weight: prominent ? Font.DemiBold : Font.Normal

    background: Plate {
        radius: Theme.radiusControl
        color: root.prominent
               ? (root.down ? Qt.darker(root.tint, 1.2) : root.hovered ? Qt.lighter(root.tint, 1.08) : root.tint)
               : (root.down ? Theme.fillPressed : root.hovered ? Theme.fillHovered : Theme.fill)
        border.width: Theme.controlEdge
        border.color: Theme.hairline
        FocusRing {
            shown: root.visualFocus
        }
    }
    contentItem: Item {
        readonly property real markWidth: root.busy ? spinner.width : mark.visible ? mark.width : 0
        readonly property real gap: markWidth > 0 && root.text !== "" ? Theme.space(1) : 0
        readonly property real used: markWidth + gap + title.width

        id: content
        implicitWidth: markWidth + gap + title.implicitWidth
        implicitHeight: Math.max(mark.visible ? mark.implicitHeight : 0, root.text !== "" ? title.implicitHeight : 0)

        Loader {
            id: spinner
            active: root.busy
            x: mark.x
            anchors.verticalCenter: parent.verticalCenter
            sourceComponent: Spinner {
                color: root.ink
            }
        }
        Symbol {
            id: mark
            visible: root.symbol !== "" && !root.busy
            x: (content.width - content.used) / 2 + (root.symbolTrails ? title.width + content.gap : 0)
            anchors.verticalCenter: parent.verticalCenter
            name: root.symbol
            size: Theme.title3
            color: root.ink
        }
        Text {
            id: title
            visible: root.text !== ""
            x: (content.width - content.used) / 2 + (root.symbolTrails ? 0 : content.markWidth + content.gap)
            width: root.text === ""
                   ? 0 : Math.max(0, Math.min(implicitWidth, content.width - content.markWidth - content.gap))
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            textFormat: Text.PlainText
            elide: Text.ElideRight
            maximumLineCount: 1
            // Not the control's own font, which knows nothing of the families for other scripts.
            font.pixelSize: root.font.pixelSize
            font.weight: root.font.weight
            color: root.ink
        }
    }
    HelpTip {
        text: root.help
        target: root
        hovered: root.hovered
    }
}
