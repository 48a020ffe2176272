import QtQuick
import Tarn.Model
import Tarn.Onboarding
import Tarn.Style

/// Signing in, or who is signed in.
Item {
    id: root

    required property TranslateViewModel vm
    required property OnboardingCoordinator onboarding

    LoginSlideState {
        id: logic
        viewModel: root.vm
        coordinator: root.onboarding
    }
    Column {
        anchors.centerIn: parent
        width: parent.width
        spacing: Theme.space(4)

        IconDisc {
            anchors.horizontalCenter: parent.horizontalCenter
            diameter: 68
            Symbol {
                anchors.centerIn: parent
                name: "person.crop.circle"
                size: 36
                color: Brand.primary
            }
        }
        SignedInBadge {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: logic.isLoggedIn
            label: logic.email !== "" ? Loc.filled(Loc.loginSignedInAs, logic.email) : Loc.loginSignedIn
        }
        Column {
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
            anchors.horizontalCenter: parent.horizontalCenter
            visible: !logic.isLoggedIn && logic.providers.length > 0
            Repeater {
                model: logic.providers
                ProviderMark {}
            }
        }
        Column {
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
            width: parent.width
            open: logic.showWhy
            onToggled: open => logic.showWhy = open
        }
    }
}
