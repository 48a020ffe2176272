import QtQuick
import Tarn.Onboarding
import Tarn.Style

/// A page whose content may be higher than the window: then it scrolls, and follows the keys.
Flickable {
    id: root

    required property Item content

    /// Brings in what has the keys.
    function follow(): void {
        const item = root.Window.activeFocusItem
        let around = item
        while (around && around !== root.contentItem)
            around = around.parent
        const top = around ? item.mapToItem(root.contentItem, 0, 0).y - Theme.space(2) : root.contentY
        const bottom = around ? top + item.height + Theme.space(4) : root.contentY
        const y = Math.max(bottom - root.height, Math.min(root.contentY, top))
        root.contentY = Math.max(0, Math.min(y, root.contentHeight - root.height))
    }

    contentWidth: width
    contentHeight: Math.max(height, root.content.height)
    interactive: contentHeight > height
    clip: interactive
    boundsBehavior: Flickable.StopAtBounds
    onContentHeightChanged: Qt.callLater(root.follow)

    Connections {
        target: root.Window.window
        function onActiveFocusItemChanged(): void {
            Qt.callLater(root.follow)
        }
    }
    Rectangle {
        parent: root
        x: root.width - width
        y: root.visibleArea.yPosition * root.height
        width: 3
        height: root.visibleArea.heightRatio * root.height
        visible: root.interactive
        radius: 1.5
        color: Theme.track
    }
}
