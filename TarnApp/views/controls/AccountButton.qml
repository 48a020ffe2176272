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
    signal elsewhereWanted()

    /// For the user to open, where no browser could be.
    function showAddress(item: Item): void {
        if (vm.signInAddress !== "")
            address.openAt(item)
    }

    implicitWidth: vm.isSignedOut ? signIn.implicitWidth : account.implicitWidth
    implicitHeight: vm.isSignedOut ? signIn.implicitHeight : account.implicitHeight

    PushButton {
        id: signIn
        visible: root.vm.isSignedOut
        anchors.verticalCenter: parent.verticalCenter
        symbol: "person.crop.circle.badge.plus"
        text: Loc.signIn
        onClicked: {
            if (!root.vm.startSignIn())
                root.showAddress(signIn)
        }
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
                function onAddressWanted(): void { root.showAddress(account) }
                function onElsewhereWanted(): void { root.elsewhereWanted() }
            }
        }
    }
    Popover {
        id: address
        objectName: "signInAddress"
        title: Loc.signIn
        Loader {
            Component.onCompleted: setSource("SignInAddress.qml", {vm: root.vm})
        }
    }
}
