import QtQuick
import Tarn.Model
import Tarn.Onboarding
import Tarn.Style

/// The permission to use the microphone.
PermissionRow {
    id: root

    required property TranslateViewModel vm
    readonly property bool shown: root.Window.visibility !== Window.Hidden

    glyph: "mic.fill"
    glyphColor: Brand.primary
    name: Loc.permMicName
    desc: Loc.permMicDesc
    onShownChanged: if (root.shown) logic.appeared()

    MicPermissionRowState {
        id: logic
        viewModel: root.vm
    }
    Loader {
        sourceComponent: logic.granted ? badge : button
    }
    Component {
        id: badge
        GrantedBadge {}
    }
    Component {
        id: button
        PushButton {
            id: press
            readonly property string label: logic.denied ? Loc.permOpenSettings : Loc.permGrant

            prominent: true
            tint: Brand.primary
            tintInk: Theme.brandInk
            minimumWidth: 72
            busy: logic.requesting && !logic.denied
            text: press.busy ? "" : press.label
            Accessible.name: press.label
            Accessible.description: root.name
            onClicked: logic.denied ? logic.openSettings() : logic.grant()
        }
    }
}
