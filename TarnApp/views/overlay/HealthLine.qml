import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// What keeps a running session from being heard or translated: the worst on one line, all in the tooltip.
Rectangle {
    id: root

    required property list<string> faults       ///< `TranslateSession.health`

    readonly property bool isHealthy: faults.length === 0

    visible: !isHealthy
    implicitWidth: Math.ceil(mark.width + Theme.space(1) + line.implicitWidth) + 12
    implicitHeight: Math.ceil(Math.max(mark.height, line.implicitHeight)) + 4
    radius: Theme.radiusSmall
    color: Theme.panelOpaque
    border.width: 1
    border.color: Theme.orange

    Accessible.role: Accessible.AlertMessage
    Accessible.name: line.text
    Accessible.ignored: isHealthy

    Symbol {
        id: mark
        x: 6
        anchors.verticalCenter: parent.verticalCenter
        name: "exclamationmark.triangle.fill"
        size: Theme.body
        color: Theme.orange
    }
    Text {
        id: line
        x: mark.x + mark.width + Theme.space(1)
        width: Math.max(0, root.width - x - 6)
        anchors.verticalCenter: parent.verticalCenter
        text: root.isHealthy ? "" : HealthTexts[root.faults[0]]
        textFormat: Text.PlainText
        elide: Text.ElideRight
        maximumLineCount: 1
        font.pixelSize: Theme.caption2
        color: Theme.orange
    }
    HoverHandler {
        id: pointer
    }
    HelpTip {
        text: root.faults.map(fault => HealthTexts[fault]).join("\n")
        target: root
        hovered: pointer.hovered
    }
}
