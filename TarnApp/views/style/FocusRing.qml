import QtQuick
import Tarn.Style

/// Shows around its parent, a rounded rectangle, that the keys go there.
Plate {
    id: root

    required property bool shown

    visible: shown
    anchors.fill: parent
    anchors.margins: -Theme.focusWidth - 1
    radius: parent.radius + Theme.focusWidth + 1
    color: "transparent"
    border.width: Theme.focusWidth
    border.color: Theme.focusRing
}
