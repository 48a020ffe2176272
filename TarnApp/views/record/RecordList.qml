import QtQuick
import QtQuick.Templates as T
import Tarn.Record
import Tarn.Style

/// The utterances, the newest below. While its end is in view it stays there as more is said; otherwise nothing that is
/// being read moves.
ListView {
    id: root

    required property RecordRows rows
    required property RecordSelection selection
    property bool follows: true         ///< the end stays in view
    readonly property int page: Math.max(1, Math.floor(height / 60))
    signal copyWanted()

    function toEnd(): void {
        if (follows && !moving && count > 0 && !atYEnd)
            positionViewAtEnd()
    }
    function jumpToEnd(): void {
        cancelFlick()
        follows = true
        positionViewAtEnd()
    }
    function goTo(wanted: int, modifiers: int): void {
        if (count === 0)
            return
        const row = Math.max(0, Math.min(count - 1, wanted))
        currentIndex = row
        positionViewAtIndex(row, ListView.Contain)
        follows = row === count - 1
        selection.choose(row, modifiers & Qt.ShiftModifier)
    }

    model: rows
    clip: true
    focus: true
    activeFocusOnTab: true
    keyNavigationEnabled: false
    highlightFollowsCurrentItem: false
    currentIndex: -1
    reuseItems: true
    cacheBuffer: 600
    boundsBehavior: Flickable.StopAtBounds

    onCountChanged: Qt.callLater(toEnd)
    onContentHeightChanged: Qt.callLater(toEnd)
    onHeightChanged: Qt.callLater(toEnd)
    onMovementEnded: follows = atYEnd
    Connections {
        target: root.rows
        function onModelReset(): void {
            root.currentIndex = -1
            root.follows = true
            Qt.callLater(root.toEnd)
        }
    }

    Accessible.role: Accessible.List
    Accessible.focusable: true
    Accessible.focused: activeFocus

    Keys.onPressed: event => {
        const at = currentIndex >= 0 ? currentIndex : indexAt(0, contentY + height - 1)
        event.accepted = true
        if (event.matches(StandardKey.Copy))
            copyWanted()
        else if (event.matches(StandardKey.SelectAll))
            selection.chooseAll()
        else if (event.key === Qt.Key_Up)
            goTo(at - 1, event.modifiers)
        else if (event.key === Qt.Key_Down)
            goTo(at + 1, event.modifiers)
        else if (event.key === Qt.Key_PageUp)
            goTo(at - page, event.modifiers)
        else if (event.key === Qt.Key_PageDown)
            goTo(at + page, event.modifiers)
        else if (event.key === Qt.Key_Home)
            goTo(0, event.modifiers)
        else if (event.key === Qt.Key_End)
            goTo(count - 1, event.modifiers)
        else
            event.accepted = false
    }

    delegate: RecordRow {
        id: row
        width: ListView.view.width
        chosen: {
            root.selection.count        // what `contains` says changes with it
            return root.selection.contains(row.index)
        }
        current: root.activeFocus && root.currentIndex === row.index
        onPressed: modifiers => {
            root.forceActiveFocus(Qt.MouseFocusReason)
            root.currentIndex = row.index
            root.selection.choose(row.index, modifiers)
        }
    }

    T.ScrollBar.vertical: T.ScrollBar {
        id: bar
        width: 10
        padding: 2
        minimumSize: 0.05
        policy: T.ScrollBar.AsNeeded
        visible: size < 1
        onPressedChanged: {
            if (!pressed)
                root.follows = root.atYEnd
        }
        contentItem: Plate {
            implicitWidth: 6
            radius: 3
            color: bar.pressed ? Theme.secondaryText : Theme.faded(Theme.secondaryText, bar.hovered ? 0.8 : 0.5)
        }
    }
}
