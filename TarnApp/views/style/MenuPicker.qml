import QtQuick
import Tarn.Style

/// A button that shows the chosen entry and opens the menu of all of them.
PushButton {
    id: root

    required property var choices   ///< list of {value, label} or {value, label, note}
    required property var value     ///< that of the chosen one; one that is not listed is shown as it is
    property string name            ///< what is chosen, for screen readers
    readonly property alias opened: list.opened
    signal picked(value: var)

    text: {
        const found = choices.find(choice => choice.value === value)
        return found ? found.label : String(value)
    }
    symbol: "chevron.down"
    symbolTrails: true
    leftPadding: Theme.space(2.5)
    rightPadding: Theme.space(1)
    Accessible.role: Accessible.ComboBox
    Accessible.name: name + ": " + text
    onClicked: list.toggleAt(root)
    Keys.onDownPressed: list.openAt(root, true)
    Keys.onUpPressed: list.openAt(root, true)

    Popover {
        id: list
        title: root.name
        insetX: Theme.space(1)
        insetY: Theme.space(1)

        MenuColumn {
            Accessible.role: Accessible.PopupMenu
            Accessible.name: root.name
            Repeater {
                model: root.choices
                MenuRow {
                    required property var modelData
                    text: modelData.label
                    note: modelData.note || ""
                    chosen: modelData.value === root.value
                    onClicked: {
                        const value = modelData.value
                        list.dismiss(visualFocus)
                        root.picked(value)
                    }
                }
            }
        }
    }
}
