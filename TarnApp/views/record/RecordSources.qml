import QtQuick
import Tarn.Model
import Tarn.Style

/// All that have spoken; the chosen ones are shown, and where none is chosen, all.
Flow {
    id: root

    required property var sources   ///< list of {key, label, chosen}
    signal toggled(key: int)

    spacing: Theme.space(2)

    Repeater {
        model: root.sources
        PushButton {
            id: chip
            required property var modelData
            width: Math.min(implicitWidth, root.width)
            text: modelData.label
            prominent: modelData.chosen
            onClicked: root.toggled(modelData.key)
            SpokenCheck {
                checkable: true
                checked: chip.modelData.chosen
            }
        }
    }
}
