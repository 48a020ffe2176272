import QtQuick
import Tarn.Model
import Tarn.Onboarding
import Tarn.Style

/// The permission to hear what other programs play.
PermissionRow {
    id: root

    required property TranslateViewModel vm
    readonly property bool shown: root.Window.visibility !== Window.Hidden

    glyph: "rectangle.inset.filled.and.person.filled"
    glyphColor: Brand.primaryDark
    name: Loc.permScreenName
    desc: Loc.permScreenDesc
    onShownChanged: root.shown ? logic.appeared() : logic.disappeared()

    ScreenRecPermissionRowState {
        id: logic
        viewModel: root.vm
    }
    Loader {
        sourceComponent: logic.phase === "idle" ? idle
                         : logic.phase === "waiting" ? waiting
                         : logic.hasAccess ? granted : grantedElsewhere
    }
    component Button: PushButton {
        prominent: true
        tint: Brand.primary
        tintInk: Theme.brandInk
        minimumWidth: 72
        Accessible.description: root.name
    }
    Component {
        id: idle
        Button {
            text: Loc.permGrant
            onClicked: logic.grant()
        }
    }
    Component {
        id: waiting
        Row {
            spacing: Theme.space(2)
            Spinner { anchors.verticalCenter: parent.verticalCenter }
            Button {
                text: Loc.permRelaunch
                onClicked: logic.relaunch()
            }
        }
    }
    Component {
        id: granted
        GrantedBadge {}
    }
    Component {
        id: grantedElsewhere
        Column {
            spacing: Theme.space(1)
            GrantedBadge {
                anchors.right: parent.right
                label: Loc.permGrantedRelaunch
                size: Theme.caption
            }
            Button {
                anchors.right: parent.right
                text: Loc.permRelaunch
                onClicked: logic.relaunch()
            }
        }
    }
}
