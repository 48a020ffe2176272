import QtQuick
import Tarn.Model
import Tarn.Onboarding
import Tarn.Style

/// Signing in, or who is signed in. Where it is too low for all of that, the pictures give way.
ScrolledSlide {
    id: root

    required property TranslateViewModel vm
    required property OnboardingCoordinator onboarding

    /// Of what is there in any case.
    readonly property real least: (logic.isLoggedIn ? badge.height : head.height + column.spacing + signing.height)
                                  + column.spacing + why.height
    readonly property real withProviders: least + (logic.providers.length > 0 ? providers.height + column.spacing : 0)

    content: column

    LoginSlideState {
        id: logic
        viewModel: root.vm
        coordinator: root.onboarding
    }
    Column {
        id: column
        y: Math.max(0, Math.round((root.height - height) / 2))
        width: root.width
        spacing: Theme.space(4)

        IconDisc {
            id: disc
            anchors.horizontalCenter: parent.horizontalCenter
            visible: root.height >= (logic.isLoggedIn ? root.least : root.withProviders) + 1.3 * height + column.spacing
            diameter: 68
            Symbol {
                anchors.centerIn: parent
                name: "person.crop.circle"
                size: 36
                color: Brand.primary
            }
        }
        SignedInBadge {
            id: badge
            anchors.horizontalCenter: parent.horizontalCenter
            visible: logic.isLoggedIn
            label: logic.email !== "" ? Loc.filled(Loc.loginSignedInAs, logic.email) : Loc.loginSignedIn
        }
        Column {
            id: head
            visible: !logic.isLoggedIn
            width: parent.width
            spacing: Theme.space(2)
            SlideText {
                heading: true
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: Loc.loginTitle
                font.pixelSize: Theme.heading
            }
            SlideText {
                anchors.horizontalCenter: parent.horizontalCenter
                width: Paragraphs.balancedWidth(text, font, 430)
                horizontalAlignment: Text.AlignHCenter
                text: Loc.loginSubtitle
                lineHeight: 1.15
                font.pixelSize: Theme.body
            }
        }
        Row {
            id: providers
            anchors.horizontalCenter: parent.horizontalCenter
            visible: !logic.isLoggedIn && logic.providers.length > 0 && root.height >= root.withProviders
            Repeater {
                model: logic.providers
                ProviderMark {}
            }
        }
        Column {
            id: signing
            anchors.horizontalCenter: parent.horizontalCenter
            visible: !logic.isLoggedIn
            spacing: Theme.space(2)
            PushButton {
                anchors.horizontalCenter: parent.horizontalCenter
                prominent: true
                symbol: "sparkles"
                text: Loc.loginButton
                implicitHeight: 36
                leftPadding: Theme.space(5)
                rightPadding: Theme.space(5)
                onClicked: logic.signIn()
            }
            Row {
                anchors.horizontalCenter: parent.horizontalCenter
                visible: logic.waiting
                spacing: Theme.space(2)
                Accessible.role: Accessible.AlertMessage
                Accessible.name: Loc.loginWaiting
                Spinner { anchors.verticalCenter: parent.verticalCenter }
                Text {
                    text: Loc.loginWaiting
                    textFormat: Text.PlainText
                    font.pixelSize: Theme.callout
                    color: Theme.secondaryText
                }
                LinkButton {
                    anchors.verticalCenter: parent.verticalCenter
                    text: Loc.cancel
                    onClicked: logic.leave()
                }
            }
            SlideText {
                anchors.horizontalCenter: parent.horizontalCenter
                visible: root.vm.signInAddress !== ""
                width: 430
                horizontalAlignment: Text.AlignHCenter
                text: Loc.openByHand
                font.pixelSize: Theme.callout
                Accessible.role: Accessible.AlertMessage
            }
            CopyField {
                anchors.horizontalCenter: parent.horizontalCenter
                visible: root.vm.signInAddress !== ""
                text: root.vm.signInAddress
                name: Loc.openByHand
                copyLabel: Loc.copy
                copiedLabel: Loc.copied
            }
        }
        WhyAccount {
            id: why
            width: parent.width
            open: logic.showWhy
            onToggled: open => logic.showWhy = open
        }
    }
}
