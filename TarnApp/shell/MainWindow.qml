import QtQuick
import Tarn.Model
import Tarn.Onboarding
import Tarn.Overlay
import Tarn.Shell
import Tarn.Style

/// The program's one main window: the overlay, or the onboarding pages where they are only looked at.
Window {
    id: root

    required property TranslateViewModel vm
    required property QtObject onboarding
    required property QtObject delegate     ///< AppDelegate
    required property bool preview

    readonly property ContentView content: body.item as ContentView

    title: "Tarn"
    color: "transparent"
    width: root.preview ? 560 : 640
    height: root.preview ? 600 : 220
    // A column more must not make the window wider than the screen it is on.
    minimumWidth: Math.min(Math.max(480, root.content ? root.content.minimumContentWidth : 0), Screen.desktopAvailableWidth)
    minimumHeight: root.preview ? 600 : 200

    onClosing: root.delegate.mainWindowClosed()

    Loader {
        id: body
        anchors.fill: parent
        focus: true
        sourceComponent: root.preview ? onboardingView : contentView
    }
    Component {
        id: contentView
        ContentView {
            id: content
            vm: root.vm
            onboarding: root.onboarding

            MoveArea {
                drag: root.delegate.drag
            }
            ResizeEdges {
                drag: root.delegate.drag
            }
        }
    }
    Component {
        id: onboardingView
        OnboardingView {
            vm: root.vm
            onboarding: root.onboarding
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
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        enabled: root.content && !root.content.contentState.startDisabled
        onActivated: root.vm.anyRunning ? root.vm.stopAll() : root.vm.startAll()
    }
}
