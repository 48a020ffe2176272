import QtQuick
import Tarn.Controls
import Tarn.Style

/// A setting: its name in small type over its control.
Plate {
    id: root

    required property string label
    default property alias content: holder.data

    implicitWidth: Math.ceil(Math.max(caption.implicitWidth, holder.childrenRect.width)) + 16
    implicitHeight: Math.ceil(caption.implicitHeight + 2 + holder.childrenRect.height) + 10
    radius: Theme.radiusChip
    color: Theme.pure ? "transparent" : Theme.faded(Theme.secondaryText, 0.1)
    border.width: Theme.controlEdge
    border.color: Theme.hairline

    Accessible.role: Accessible.Grouping
    Accessible.name: label

    Text {
        id: caption
        x: 8
        y: 5
        text: root.label
        textFormat: Text.PlainText
        font.pixelSize: Theme.caption2
        color: Theme.secondaryText
    }
    Item {
        id: holder
        x: 8
        y: caption.y + caption.height + 2
        width: childrenRect.width
        height: childrenRect.height
    }
}
