import QtQuick
import Tarn.Style

/// A popover: a window of its own at the item it belongs to, kept on the screen (a taller one scrolls), closed by
/// Escape, by a press elsewhere, and when the program is no longer the active one. The entry that says it is
/// `chosen`, else its first control, has the keys. What is in it is made when it opens and gone when it closes.
Window {
    id: root

    default property Component content
    property real insetX: Theme.space(3)
    property real insetY: Theme.space(2.5)
    readonly property alias opened: guard.up     ///< at once; `visible` tells of it a turn later
    readonly property alias pointerMoved: guard.pointerMoved
    property Item keysReturnTo      ///< shows its focus again when its window becomes active

    /// `byKeys`: where the keys go is to be seen at once.
    function openAt(item: Item, byKeys = false): void {
        guard.anchor = item
        keysReturnTo = null
        transientParent = item.Window.window
        body.active = true
        place()
        guard.up = true
        visible = true
        requestActivate()
        const first = guard.firstItem(body)
        if (first)
            first.forceActiveFocus(byKeys ? Qt.TabFocusReason : Qt.PopupFocusReason)
    }
    function toggleAt(item: Item): void {
        if (opened)
            dismiss(false)
        else
            openAt(item, item.visualFocus === true)
    }
    /// Closes, and gives the keys back to the window of the item that it belongs to. `byKey`: where they go there is to
    /// be seen.
    function dismiss(byKey: bool): void {
        if (!opened)
            return
        const owner = guard.anchor
        const window = owner && owner.visible ? owner.Window.window : null
        if (window)
            window.requestActivate()
        shut()
        if (window && byKey) {
            owner.forceActiveFocus(Qt.TabFocusReason)
            owner.focusReason = Qt.TabFocusReason
            keysReturnTo = owner
        }
    }
    function shut(): void {
        guard.up = false
        hide()
        Qt.callLater(() => { if (!root.opened) body.active = false })
    }
    function place(): void {
        const at = guard.frame(body.implicitWidth + 2 * insetX, body.implicitHeight + 2 * insetY, Theme.space(1))
        x = Math.round(at.x)
        y = Math.round(at.y)
        width = Math.ceil(at.width)
        height = Math.ceil(at.height)
    }
    function reveal(item: Item): void {
        if (!item || scroller.contentHeight <= scroller.height)
            return
        const top = item.mapToItem(scroller.contentItem, 0, 0).y
        if (top < scroller.contentY)
            scroller.contentY = Math.max(0, top)
        else if (top + item.height > scroller.contentY + scroller.height)
            scroller.contentY = Math.min(scroller.contentHeight - scroller.height, top + item.height - scroller.height)
    }

    // Past the window manager, so that the keys really go here, and back where they came from: Qt would otherwise only
    // pretend to, and leave them with a window that is gone.
    // Not of the type Popup there, which Qt keeps from screen readers.
    flags: Qt.FramelessWindowHint
           | (Qt.platform.pluginName === "xcb" ? Qt.Tool | Qt.BypassWindowManagerHint : Qt.Popup)
    color: "transparent"
    onActiveChanged: if (!active && opened) shut()
    onActiveFocusItemChanged: reveal(activeFocusItem)
    onVisibleChanged: if (!visible && opened) shut()

    PopoverGuard {
        id: guard
        window: root
        onDismissed: (byKey, keysReturn) => keysReturn ? root.dismiss(byKey) : root.shut()
    }
    // The window that becomes active would not show the focus.
    Connections {
        target: root.keysReturnTo
        function onFocusReasonChanged(): void {
            const item = root.keysReturnTo
            if (item.focusReason === Qt.ActiveWindowFocusReason || item.focusReason === Qt.PopupFocusReason)
                item.focusReason = Qt.TabFocusReason
            else if (item.focusReason === Qt.MouseFocusReason)
                root.keysReturnTo = null
        }
    }
    Plate {
        anchors.fill: parent
        radius: Appearance.translucent ? Theme.radiusPanel : 0
        color: Theme.popover
        border.color: Theme.hairline
    }
    Flickable {
        id: scroller
        x: root.insetX
        y: root.insetY
        width: root.width - 2 * root.insetX
        height: root.height - 2 * root.insetY
        contentWidth: width
        contentHeight: body.implicitHeight
        interactive: contentHeight > height
        clip: interactive
        boundsBehavior: Flickable.StopAtBounds

        Loader {
            id: body
            active: false
            focus: true
            width: Math.max(scroller.width, implicitWidth)
            sourceComponent: root.content
            onImplicitWidthChanged: if (root.opened) root.place()
            onImplicitHeightChanged: if (root.opened) root.place()
        }
    }
    Plate {
        visible: scroller.interactive
        x: root.width - width - 2
        y: scroller.y + scroller.visibleArea.yPosition * scroller.height
        width: 4
        height: scroller.visibleArea.heightRatio * scroller.height
        radius: 2
        color: Theme.fillPressed
    }
}
