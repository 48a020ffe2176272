import QtQuick
import Tarn.Model
import Tarn.Onboarding

/// An ordinary window of a fixed size with a close button. The window manager's own title bar stays: it is
/// where users of this desktop look for that button.
Window {
    id: root

    required property TranslateViewModel vm
    required property OnboardingCoordinator onboarding

    objectName: "tarn-onboarding"
    flags: Qt.Window | Qt.CustomizeWindowHint | Qt.WindowTitleHint | Qt.WindowSystemMenuHint | Qt.WindowCloseButtonHint
    width: 560
    // A small screen, or a large scale, has room for less; the page of signing in gives up its picture there, or scrolls.
    height: Math.max(480, Math.min(600, Screen.desktopAvailableHeight - 48))
    minimumWidth: root.width
    maximumWidth: root.width
    minimumHeight: root.height
    maximumHeight: root.height
    color: "transparent"

    OnboardingView {
        anchors.fill: parent
        vm: root.vm
        onboarding: root.onboarding
    }
}
