import QtQuick
import QtQuick.Layouts
import Tarn.Controls
import Tarn.Model
import Tarn.Overlay
import Tarn.Style

/// The strip of the controls that all sessions share.
Item {
    id: root

    required property TranslateViewModel vm
    required property QtObject onboarding           ///< the coordinator
    required property ContentState contentState
    signal windowWanted(name: string)

    implicitHeight: 44

    RowLayout {
        anchors {
            fill: parent
            leftMargin: Theme.space(3)
            rightMargin: Theme.space(3)
        }
        spacing: root.width < 560 ? Theme.space(1) : Theme.space(2)

        SegmentedPicker {
            Layout.preferredWidth: 130
            width: 130
            choices: [{value: "solo", label: Loc.modeSolo},
                      {value: "conversation", label: Loc.modeConversation}]
            value: root.vm.mode
            help: Loc.helpModeToggle
            name: Loc.helpModeToggle
            onPicked: value => root.vm.mode = value
        }
        SymbolButton {
            objectName: "addSource"
            visible: root.vm.mode === "conversation" && root.vm.sessionCount < 4
            symbol: "plus.circle"
            help: Loc.addSource
            onClicked: root.vm.addSession()
        }
        PushButton {
            objectName: "startStop"
            prominent: true
            minimumWidth: 60
            busy: root.contentState.isConnecting
            symbol: root.vm.canStop ? "stop.fill" : "play.fill"
            text: root.contentState.isConnecting ? Loc.connecting : root.vm.canStop ? Loc.stop : Loc.start
            tint: root.vm.canStop ? Theme.danger : Theme.accent
            tintInk: root.vm.canStop ? Theme.dangerInk : Theme.accentInk
            enabled: !root.contentState.startDisabled
            help: root.vm.isSignedOut ? Loc.helpSignInToStart : Loc.helpStartStop
            onClicked: root.vm.canStop ? root.vm.stopAll() : root.vm.startAll()
        }
        SymbolButton {
            objectName: "settings"
            symbol: "slider.horizontal.3"
            active: root.vm.tier2Expanded
            help: Loc.helpSettings
            switches: true
            onClicked: root.vm.tier2Expanded = !root.vm.tier2Expanded
        }
        PlaybackButton {
            vm: root.vm
        }
        FontScaleButton {
            vm: root.vm
            onLookWanted: root.windowWanted("look")
        }
        SymbolButton {
            objectName: "record"
            symbol: "list.bullet.rectangle"
            help: Loc.helpRecord
            onClicked: root.windowWanted("record")
        }
        SymbolButton {
            objectName: "mini"
            symbol: root.vm.miniMode ? "arrow.up.backward.and.arrow.down.forward"
                                     : "arrow.down.right.and.arrow.up.left"
            help: Loc.helpMini
            switches: true
            on: root.vm.miniMode
            onClicked: root.vm.miniMode = !root.vm.miniMode
        }
        Item {
            Layout.fillWidth: true
        }
        AccountButton {
            vm: root.vm
            onboarding: root.onboarding
            onElsewhereWanted: root.windowWanted("elsewhere")
        }
    }
}
