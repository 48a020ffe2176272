import QtQuick
import Tarn.Onboarding
import Tarn.Style

/// A page whose content may be higher than the window: then it scrolls, and follows the keys.
Flickable {
    id: root

    required property Item content

    function reveal(item: Item): void {
        const top = item.mapToItem(root.contentItem, 0, 0).y
        if (top < root.contentY)
            root.contentY = Math.max(0, top - Theme.space(2))
        else if (top + item.height > root.contentY + root.height)
            root.contentY = Math.min(root.contentHeight - root.height, top + item.height + Theme.space(2) - root.height)
    }

    contentWidth: width
    contentHeight: Math.max(height, root.content.height)
    interactive: contentHeight > height
    clip: interactive
    boundsBehavior: Flickable.StopAtBounds
    onContentHeightChanged: returnToBounds()

    Connections {
        target: root.Window.window
        function onActiveFocusItemChanged(): void {
            const item = root.Window.activeFocusItem
            for (let around = item; around; around = around.parent) {
                if (around === root.contentItem)
                    Qt.callLater(root.reveal, item)
            }
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
