import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// The translated voice: its speed, its volume, and what it does to other sound.
Column {
    id: root

    required property TranslateViewModel vm

    spacing: Theme.space(2)

    PanelTitle {
        text: Loc.playback
    }
    PlaybackRow {
        symbol: "speedometer"
        label: Loc.playbackSpeed
        from: 0.5
        to: 2.0
        stepSize: 0.05
        current: root.vm.rate
        valueText: Readouts.rate(root.vm.rate)
        onChanged: value => root.vm.rate = value
    }
    PlaybackRow {
        symbol: "speaker.wave.3.fill"
        label: Loc.playbackVolume
        from: 0.0
        to: 10.0
        stepSize: 0.1
        current: root.vm.outputGain
        valueText: Readouts.gain(root.vm.outputGain)
        valueColor: Theme.tone(Readouts.gainTone(root.vm.outputGain))
        onChanged: value => root.vm.outputGain = value
    }
    PlaybackSwitch {
        width: parent.width
        label: Loc.keepUp
        help: Loc.helpKeepUp
        current: root.vm.keepsUp
        onChanged: value => root.vm.keepsUp = value
    }
    PlaybackSwitch {
        width: parent.width
        visible: root.vm.mode === "conversation"
        label: Loc.placeDubs
        help: Loc.helpPlaceDubs
        current: root.vm.placesDubs
        onChanged: value => root.vm.placesDubs = value
    }
    PlaybackChoice {
        width: parent.width
        label: Loc.turnOthersDown
        help: Loc.helpTurnOthersDown
        choices: root.vm.othersDownChoices.map(value => ({value, label: value === 0 ? Loc.off : `−${-value} dB`}))
        current: root.vm.othersTurnedDown
        onChanged: value => root.vm.othersTurnedDown = value
    }
    HoverHandler {
        id: pointer
    }
    HelpTip {
        text: Loc.helpOutputGain
        target: root
        hovered: pointer.hovered
    }
}
