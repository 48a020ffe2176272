import QtQuick
import Tarn.Style

/// The popover of the item that it stands in. Its window is made when it is first opened.
Loader {
    id: root

    default property Component content
    property string title
    property real insetX: Theme.space(3)
    property real insetY: Theme.space(2.5)
    readonly property PopoverWindow window: item as PopoverWindow   ///< null until it is first opened
    readonly property bool opened: window !== null && window.opened

    /// `byKeys`: the keyboard focus is to be seen at once.
    function openAt(item: Item, byKeys = false): void {
        active = true
        window.openAt(item, byKeys)
    }
    function toggleAt(item: Item): void {
        active = true
        window.toggleAt(item)
    }
    /// Closes, and gives the keyboard focus back to the window of the item that it belongs to. `byKey`: where it goes
    /// there is to be seen.
    function dismiss(byKey: bool): void {
        if (opened)
            window.dismiss(byKey)
    }

    active: false
    sourceComponent: PopoverWindow {
        title: root.title
        insetX: root.insetX
        insetY: root.insetY
        content: root.content
    }
}
