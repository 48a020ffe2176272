import QtQuick
import Tarn.Style

/// A borderless button that shows a symbol; screen readers say its tooltip. While `active` it is drawn in the accent
/// colour on a tinted ground.
Pressable {
    id: root

    required property string symbol
    property bool active: false
    property color ink: active ? Theme.accent : Theme.primaryText
    property real size: Theme.symbol
    property string trailingSymbol  ///< a small one behind the first, as a chevron
    property bool switches: false   ///< for screen readers: stays on, or off
    property bool on: active        ///< the same

    implicitWidth: Math.ceil(implicitContentWidth + 2 * padding)
    implicitHeight: Math.ceil(implicitContentHeight + 2 * padding)
    padding: 3

    background: Plate {
        radius: Theme.radiusSmall
        color: root.down ? Theme.fillPressed
                         : root.active ? Theme.faded(Theme.accent, root.hovered ? 0.28 : 0.18)
                                       : root.hovered ? Theme.fill : "transparent"
        border.width: root.visualFocus ? Theme.focusWidth : Theme.controlEdge
        border.color: root.visualFocus ? Theme.focusRing : Theme.hairline
    }
    contentItem: Row {
        spacing: 0
        Symbol {
            name: root.symbol
            size: root.size
            color: root.ink
        }
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            visible: root.trailingSymbol !== ""
            name: root.trailingSymbol
            size: Math.round(root.size * 0.8)
            color: root.ink
        }
    }
    SpokenCheck {
        checkable: root.switches
        checked: root.switches && root.on
    }
    HelpTip {
        text: root.help
        target: root
        hovered: root.hovered
    }
}
