import QtQuick
import Tarn.Style

/// The popover of the item that it stands in. Its window, a `PopoverWindow`, is loaded when it is first opened.
Loader {
    id: root

    default property Component content
    property string title
    property real insetX: Theme.space(3)
    property real insetY: Theme.space(2.5)
    readonly property var window: item      ///< null until it is first opened
    readonly property bool opened: item !== null && window.opened

    /// `byKeys`: the keyboard focus is to be seen at once.
    function openAt(anchor: Item, byKeys = false): void {
        make()
        window.openAt(anchor, byKeys)
    }
    function toggleAt(anchor: Item): void {
        make()
        window.toggleAt(anchor)
    }
    /// Closes, and gives the keyboard focus back to the window of the item that it belongs to. `byKey`: where it goes
    /// there is to be seen.
    function dismiss(byKey: bool): void {
        if (opened)
            window.dismiss(byKey)
    }
    function make(): void {
        if (item)
            return
        setSource("PopoverWindow.qml", {insetX: root.insetX, insetY: root.insetY, content: root.content})
        window.title = Qt.binding(() => root.title)
    }
}
