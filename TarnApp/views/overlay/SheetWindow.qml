import QtQuick
import Tarn.Overlay
import Tarn.Style

/// A sheet over the main window, which takes no input meanwhile. A window of its own, since the main one may be
/// smaller than the sheet. Closing it in any way asks for `dismissed`.
Item {
    id: root

    required property Item owner
    property bool active: false
    default property Component content
    readonly property Window window: loader.item as Window
    signal dismissed()

    Loader {
        id: loader
        active: root.active && root.owner.Window.window !== null
        sourceComponent: Window {
            id: window

            readonly property var over: root.owner.Window.window

            function place(): void {
                const centre = root.owner.mapToGlobal(root.owner.width / 2, root.owner.height / 2)
                const right = Screen.virtualX + Screen.width
                const bottom = Screen.virtualY + Screen.height
                x = Math.max(Screen.virtualX, Math.min(centre.x - width / 2, right - width))
                y = Math.max(Screen.virtualY, Math.min(centre.y - height / 2, bottom - height))
            }

            title: "Tarn"
            flags: Qt.Dialog | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
            transientParent: over
            modality: Qt.WindowModal
            color: "transparent"
            width: Math.ceil(body.item ? body.item.implicitWidth : 0)
            height: Math.ceil(body.item ? body.item.implicitHeight : 0)
            onWidthChanged: place()
            onHeightChanged: place()
            onClosing: root.dismissed()
            Component.onCompleted: {
                // As high as the window it belongs to, which may have left the window manager's order.
                flags |= over.flags & Qt.BypassWindowManagerHint
                place()
                visible = true
                requestActivate()
            }

            Plate {
                anchors.fill: parent
                radius: Appearance.translucent ? Theme.radiusPanel : 0
                color: Theme.popover
                border.color: Theme.hairline
            }
            Loader {
                id: body
                focus: true
                sourceComponent: root.content
            }
            Shortcut {
                sequence: "Escape"
                onActivated: root.dismissed()
            }
        }
    }
}
