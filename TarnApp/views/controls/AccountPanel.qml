import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// Whether the user is signed in, as far as that is known, and what concerns the account.
MenuColumn {
    id: root

    required property TranslateViewModel vm
    required property QtObject onboarding   ///< its `manuallyReopened` is set
    signal done()                           ///< an entry was chosen
    signal addressWanted()                  ///< no browser could be opened for the sign-in
    signal elsewhereWanted()                ///< subtitles in other programs

    Accessible.role: Accessible.PopupMenu
    Accessible.name: Loc.account

    IssueTracker {
        id: issues
        viewModel: root.vm
    }
    MenuRow {
        kind: "heading"
        text: root.vm.isLoggedIn ? Loc.signedIn : root.vm.isSignedOut ? Loc.notSignedIn : Loc.account
    }
    MenuRow {
        kind: "note"
        visible: text !== ""
        text: root.vm.accountEmail
    }
    MenuRow {
        kind: "divider"
    }
    MenuRow {
        markable: false
        symbol: "slider.horizontal.3"
        text: Loc.reopenSetup
        onClicked: {
            root.done()
            root.onboarding.manuallyReopened = true
        }
    }
    MenuRow {
        markable: false
        visible: !root.vm.isLoggedIn
        symbol: "person.crop.circle.badge.plus"
        text: Loc.signIn
        onClicked: {
            root.done()
            if (!root.vm.startSignIn())
                root.addressWanted()
        }
    }
    MenuRow {
        markable: false
        visible: root.vm.isLoggedIn
        symbol: "rectangle.portrait.and.arrow.right"
        text: Loc.signOut
        onClicked: {
            const model = root.vm
            root.done()
            model.signOut()
        }
    }
    MenuRow {
        markable: false
        symbol: "exclamationmark.bubble"
        text: Loc.feedback
        onClicked: {
            root.done()
            issues.open()
        }
    }
    MenuRow {
        objectName: "elsewhere"
        markable: false
        symbol: "captions.bubble.fill"
        text: Loc.elsewhereOpen
        onClicked: {
            root.done()
            root.elsewhereWanted()
        }
    }
    MenuRow {
        kind: "divider"
    }
    MenuRow {
        text: Loc.resumeConnection
        help: Loc.helpResume
        chosen: root.vm.resumesConnection
        onClicked: root.vm.resumesConnection = !root.vm.resumesConnection
    }
    MenuRow {
        enabled: root.vm.resumesConnection
        text: Loc.useStandIn
        help: Loc.helpStandIn
        chosen: root.vm.usesStandIn
        onClicked: root.vm.usesStandIn = !root.vm.usesStandIn
    }
}
