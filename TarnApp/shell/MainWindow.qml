import QtQuick
import Tarn.Model
import Tarn.Shell
import Tarn.Style

/// The program's one main window: the overlay, or the onboarding pages where they are only looked at. It is shown empty
/// and filled at once after that, so that the desktop places it while its views are made.
Window {
    id: root

    required property TranslateViewModel vm
    required property QtObject onboarding
    required property QtObject delegate     ///< AppDelegate
    required property bool preview

    readonly property Item content: body.item

    /// Makes the views; they are drawn in the first frame.
    function fill(): void {
        if (root.preview)
            body.setSource("qrc:/qt/qml/Tarn/Onboarding/OnboardingView.qml", {"vm": root.vm, "onboarding": root.onboarding})
        else
            body.setSource("qrc:/qt/qml/Tarn/Shell/MainContent.qml",
                           {"vm": root.vm, "onboarding": root.onboarding, "drag": root.delegate.drag})
    }

    title: "Tarn"
    color: "transparent"
    width: root.preview ? 560 : 640
    height: root.preview ? 600 : 220
    // A column more must not make the window wider than the screen it is on.
    minimumWidth: Math.min(Math.max(480, root.preview || !root.content ? 0 : root.content.minimumContentWidth),
                           Screen.desktopAvailableWidth)
    minimumHeight: root.preview ? 600 : 200

    onClosing: root.delegate.mainWindowClosed()

    Loader {
        id: body
        anchors.fill: parent
        focus: true
    }
    Connections {
        target: root.preview ? null : root.content
        function onWindowWanted(name: string): void {
            root.delegate.openWindow(name)
        }
    }
    // The window does not take clicks now: its controls do nothing, and this says so.
    Plate {
        objectName: "clickThroughMark"
        visible: !root.preview && root.delegate.overlay.clickThrough
        anchors { right: parent.right; bottom: parent.bottom; margins: Theme.space(1) }
        width: mark.width + 2 * Theme.space(1.5)
        height: mark.height + Theme.space(1)
        radius: Theme.radiusSmall
        color: Theme.panelOpaque
        border.width: 1
        border.color: Theme.accent

        Text {
            id: mark
            anchors.centerIn: parent
            text: visible ? root.delegate.clickThroughText : ""
            textFormat: Text.PlainText
            font.pixelSize: Theme.caption2
            color: Theme.accent
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
    WindowAccessor {
        onAttach: window => root.preview ? root.delegate.styleOnboarding(window) : root.delegate.style(window)
    }
    Binding {
        target: root.delegate.overlay
        property: "hasBackdrop"
        value: !root.content || root.content.contentState.backgroundOpacity > 0
        when: !root.preview
    }
    Shortcut {
        sequences: [StandardKey.Quit]
        onActivated: root.close()
    }
    // The way to the controls for the keyboard while mini mode hides them.
    Shortcut {
        sequence: "Ctrl+M"
        enabled: !root.preview
        onActivated: root.vm.miniMode = !root.vm.miniMode
    }
    Shortcut {
        sequence: "Ctrl+Shift+M"
        enabled: !root.preview
        onActivated: root.delegate.setClickThrough(!root.delegate.overlay.clickThrough)
    }
    Shortcut {
        sequence: "Ctrl+R"
        enabled: !root.preview
        onActivated: root.delegate.openWindow("record")
    }
    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        enabled: !root.preview && root.content && !root.content.contentState.startDisabled
        onActivated: root.vm.canStop ? root.vm.stopAll() : root.vm.startAll()
    }
}
