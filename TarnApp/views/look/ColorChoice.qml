import QtQuick
import Tarn.Model
import Tarn.Style

/// A colour: the usual one, one of a few, or any, typed as "#rrggbb".
Row {
    id: root

    required property string name
    required property string current    ///< empty: the usual one
    signal picked(value: string)

    spacing: Theme.space(1)

    Repeater {
        model: ["", "#ffffff", "#ffe066", "#7fe3ff", "#a5f2a0", "#ffb38a", "#1b1b1b"]
        Pressable {
            id: swatch

            required property string modelData
            readonly property bool chosen: root.current === modelData

            width: modelData === "" ? usual.implicitWidth + 2 * Theme.space(2) : 24
            height: Theme.fieldHeight
            Accessible.role: Accessible.RadioButton
            Accessible.name: root.name + ": " + (modelData === "" ? Loc.lookUsual : modelData)
            Accessible.checked: chosen
            onClicked: root.picked(modelData)

            background: Plate {
                radius: Theme.radiusSmall
                color: swatch.modelData === "" ? (swatch.hovered ? Theme.fillHovered : Theme.fill) : swatch.modelData
                border.width: swatch.chosen ? 2 : 1
                border.color: swatch.chosen ? Theme.accent : Theme.hairline
                FocusRing {
                    shown: swatch.visualFocus
                }
            }
            contentItem: Text {
                id: usual
                visible: swatch.modelData === ""
                text: Loc.lookUsual
                textFormat: Text.PlainText
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
                font.pixelSize: Theme.caption
                color: Theme.primaryText
            }
        }
    }
    EntryField {
        implicitWidth: 76
        name: root.name
        placeholderText: "#rrggbb"
        text: root.current
        maximumLength: 7
        onEditingFinished: {
            if (text !== root.current)
                root.picked(text)
            text = Qt.binding(() => root.current)
        }
    }
}
