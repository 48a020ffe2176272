import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// Signs in; once signed in, opens the account's panel.
Item {
    id: root

    required property TranslateViewModel vm
    required property QtObject onboarding   ///< its `manuallyReopened` is set
    readonly property alias showPopover: popover.opened

    implicitWidth: vm.isLoggedIn ? account.implicitWidth : signIn.implicitWidth
    implicitHeight: vm.isLoggedIn ? account.implicitHeight : signIn.implicitHeight

    PushButton {
        id: signIn
        visible: !root.vm.isLoggedIn
        anchors.verticalCenter: parent.verticalCenter
        symbol: "person.crop.circle.badge.plus"
        text: Loc.signIn
        onClicked: root.vm.startSignIn()
    }
    SymbolButton {
        id: account
        visible: root.vm.isLoggedIn
        anchors.verticalCenter: parent.verticalCenter
        symbol: "person.crop.circle"
        trailingSymbol: "chevron.down"
        help: Loc.account
        active: root.showPopover
        onClicked: popover.toggleAt(account)
    }
    PopoverWindow {
        id: popover
        title: Loc.account
        insetX: Theme.space(1)
        insetY: Theme.space(1)
        AccountPanel {
            vm: root.vm
            onboarding: root.onboarding
            onDone: popover.dismiss(false)
        }
    }
}
