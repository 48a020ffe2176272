import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// Signs in; unless signed out, opens the account's panel.
Item {
    id: root

    required property TranslateViewModel vm
    required property QtObject onboarding   ///< its `manuallyReopened` is set
    readonly property alias showPopover: popover.opened

    implicitWidth: vm.isSignedOut ? signIn.implicitWidth : account.implicitWidth
    implicitHeight: vm.isSignedOut ? signIn.implicitHeight : account.implicitHeight

    PushButton {
        id: signIn
        visible: root.vm.isSignedOut
        anchors.verticalCenter: parent.verticalCenter
        symbol: "person.crop.circle.badge.plus"
        text: Loc.signIn
        onClicked: root.vm.startSignIn()
    }
    SymbolButton {
        id: account
        visible: !root.vm.isSignedOut
        anchors.verticalCenter: parent.verticalCenter
        symbol: "person.crop.circle"
        trailingSymbol: "chevron.down"
        help: Loc.account
        active: root.showPopover
        onClicked: popover.toggleAt(account)
    }
    Popover {
        id: popover
        title: Loc.account
        insetX: Theme.space(1)
        insetY: Theme.space(1)
        Loader {
            id: panel
            Component.onCompleted: setSource("AccountPanel.qml", {vm: root.vm, onboarding: root.onboarding})
            Connections {
                target: panel.item
                function onDone(): void { popover.dismiss(false) }
            }
        }
    }
}
