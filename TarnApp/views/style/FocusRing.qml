import QtQuick
import Tarn.Style

/// Shows around its parent, a rounded rectangle, that the keys go there.
Rectangle {
    id: root

    required property bool shown

    visible: shown
    anchors.fill: parent
    anchors.margins: -3
    radius: parent.radius + 3
    color: "transparent"
    border.width: 2
    border.color: Theme.focusRing
}
