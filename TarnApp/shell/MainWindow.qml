import QtQuick
import Tarn.Model
import Tarn.Shell

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
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        enabled: !root.preview && root.content && !root.content.contentState.startDisabled
        onActivated: root.vm.anyRunning ? root.vm.stopAll() : root.vm.startAll()
    }
}
