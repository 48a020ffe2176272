import QtQuick
import Tarn.Style

/// The tooltip of `target`, shown after the pointer has rested on it for a while. Nothing of it exists before.
Loader {
    id: root

    required property string text
    required property Item target
    required property bool hovered
    readonly property bool held: target.down === true || target.pressed === true

    // A popover is in front: only what is in it has tooltips.
    readonly property bool behind: Popovers.anyOpen
                                   && (target.Window.window === null || target.Window.window.opened !== true)

    active: hovered && !held && !behind && text !== ""
    sourceComponent: TipWindow {
        text: root.text
        target: root.target
    }
    Accessible.ignored: true
}
