import QtQuick
import Tarn.Style

/// A name, and below it one choice of a few over the panel's width.
Column {
    id: root

    required property string label
    required property string help
    required property var choices   ///< list of {value, label}
    required property var current
    signal changed(value: var)

    spacing: Theme.space(1)

    Text {
        width: parent.width
        text: root.label
        textFormat: Text.PlainText
        elide: Text.ElideRight
        font.pixelSize: Theme.caption
        color: Theme.primaryText
    }
    SegmentedPicker {
        width: parent.width
        name: root.label
        help: root.help
        choices: root.choices
        value: root.current
        onPicked: value => root.changed(value)
    }
}
