import QtQuick
import Tarn.Model
import Tarn.Onboarding
import Tarn.Style

/// The current page. A new one comes in from the trailing edge, the old one leaves over the leading edge,
/// whichever way the user goes.
Item {
    id: root

    required property TranslateViewModel vm
    required property OnboardingCoordinator onboarding
    required property int page

    Repeater {
        model: [firstIntro, secondIntro, login, permissions]
        Loader {
            id: slide

            required property Component modelData
            required property int index
            readonly property bool current: slide.index === root.page
            property bool started: false

            width: root.width
            height: root.height
            enabled: slide.current
            active: false
            sourceComponent: slide.modelData
            Component.onCompleted: {
                slide.started = true
                slide.active = slide.current
            }
            onCurrentChanged: {
                if (!slide.started)
                    return
                if (slide.current) {
                    leaving.stop()
                    slide.active = true
                    entering.restart()
                } else {
                    entering.stop()
                    leaving.restart()
                }
            }

            ParallelAnimation {
                id: entering
                Motion { target: slide; property: "x"; from: root.width; to: 0 }
                Motion { target: slide; property: "opacity"; from: 0; to: 1 }
            }
            ParallelAnimation {
                id: leaving
                Motion { target: slide; property: "x"; to: -root.width }
                Motion { target: slide; property: "opacity"; to: 0 }
                onStopped: slide.active = slide.current
            }
        }
    }
    component Motion: NumberAnimation {
        duration: Theme.pageSlide
        easing.type: Easing.InOutQuad
    }
    Component {
        id: firstIntro
        IntroSlide {
            icon: Component { DubIcon {} }
            title: Loc.introTitle1
            bodyKey: "introBody1"
        }
    }
    Component {
        id: secondIntro
        IntroSlide {
            icon: Component { ConversationIcon {} }
            title: Loc.introTitle2
            bodyKey: "introBody2"
        }
    }
    Component {
        id: login
        LoginSlide {
            vm: root.vm
            onboarding: root.onboarding
        }
    }
    Component {
        id: permissions
        PermissionsSlide {
            vm: root.vm
        }
    }
}
