import QtQuick
import Tarn.Controls
import Tarn.Style

/// A notice that something went well.
Plate {
    id: root

    required property string message

    implicitWidth: Math.ceil(mark.width + Theme.space(2) + line.implicitWidth) + Theme.space(8)
    implicitHeight: Math.ceil(line.implicitHeight) + Theme.space(4)
    radius: Math.min(height / 2, 17)
    color: Theme.popover
    border.color: Theme.hairline

    Accessible.role: Accessible.AlertMessage
    Accessible.name: message

    Symbol {
        id: mark
        x: Theme.space(4)
        anchors.verticalCenter: parent.verticalCenter
        name: "checkmark.circle.fill"
        size: Theme.symbol
        color: Theme.dark ? Brand.success : Theme.success
    }
    Text {
        id: line
        x: mark.x + mark.width + Theme.space(2)
        width: Math.max(0, root.width - x - Theme.space(4))
        anchors.verticalCenter: parent.verticalCenter
        text: Readouts.oneLine(root.message)
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        elide: Text.ElideRight
        maximumLineCount: 4
        font.pixelSize: Theme.callout
        font.weight: Font.Medium
        color: Theme.primaryText
    }
}
