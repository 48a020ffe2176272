import QtQuick
import Tarn.Model
import Tarn.Onboarding
import Tarn.Style

/// The pages that introduce Tarn, with the way through them. Its background moves the window.
Item {
    id: root

    required property TranslateViewModel vm
    required property OnboardingCoordinator onboarding
    readonly property bool shown: root.Window.visibility !== Window.Hidden

    implicitWidth: 540
    implicitHeight: 600
    onShownChanged: root.shown ? pages.appeared() : pages.disappeared()

    OnboardingViewState {
        id: pages
        coordinator: root.onboarding
    }
    VisualEffectBackground {
        anchors.fill: parent
        material: "underWindowBackground"
        blending: "behindWindow"
    }
    RadialGlow {
        anchors.fill: parent
        visible: !Theme.pure
        color: Theme.faded(Brand.primary, 0.22)
        startRadius: 10
        endRadius: 540
    }
    MouseArea {
        id: background
        // No DragHandler: after one, the window manager does not hear of the release and goes on moving.
        property point pressedAt
        property bool moving: false

        anchors.fill: parent
        onPressed: mouse => {
            background.moving = false
            background.pressedAt = Qt.point(mouse.x, mouse.y)
        }
        onPositionChanged: mouse => {
            const far = Math.abs(mouse.x - background.pressedAt.x) + Math.abs(mouse.y - background.pressedAt.y)
            if (!background.moving && far >= Application.styleHints.startDragDistance)
                background.moving = root.Window.window.startSystemMove()
        }
    }
    OnboardingPages {
        anchors.fill: parent
        anchors.leftMargin: 44
        anchors.rightMargin: 44
        anchors.topMargin: 48
        anchors.bottomMargin: navigation.height + 28 + 20
        vm: root.vm
        onboarding: root.onboarding
        page: pages.page
    }
    NavigationBar {
        id: navigation
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.leftMargin: 44
        anchors.rightMargin: 44
        anchors.bottomMargin: 28
        height: implicitHeight
        pages: pages
    }
}
