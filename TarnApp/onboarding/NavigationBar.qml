import QtQuick
import Tarn.Model
import Tarn.Onboarding
import Tarn.Style

/// The way through the pages.
Item {
    id: root

    required property OnboardingViewState pages
    readonly property bool onLast: root.pages.page === root.pages.lastPage

    function goOn(): void {
        if (root.onLast)
            root.pages.finish()
        else
            root.pages.next()
    }

    implicitHeight: forward.implicitHeight

    PushButton {
        id: backward
        anchors.verticalCenter: parent.verticalCenter
        opacity: backward.enabled ? 1 : 0
        enabled: root.pages.page > 0
        symbol: "chevron.left"
        text: Loc.navBack
        implicitHeight: forward.implicitHeight
        onClicked: root.pages.back()
    }
    PageDots {
        anchors.centerIn: parent
        page: root.pages.page
        lastPage: root.pages.lastPage
    }
    PushButton {
        id: forward
        anchors.right: parent.right
        prominent: true
        minimumWidth: root.onLast ? 130 : 88
        implicitHeight: 32
        symbol: root.onLast ? "" : "chevron.right"
        symbolTrails: true
        text: root.onLast ? Loc.startUsingTarn : Loc.navNext
        onClicked: root.goOn()
    }
    Shortcut {
        sequences: ["Return", "Enter"]
        autoRepeat: false
        // A control that the keyboard has been led to is the one that is meant.
        enabled: !(root.Window.activeFocusItem?.visualFocus ?? false)
        onActivated: root.goOn()
    }
}
