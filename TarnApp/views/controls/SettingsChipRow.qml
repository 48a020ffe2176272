import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// A session's translation settings, as many to a row as there is room for.
FlowLayout {
    id: root

    required property TranslateSession session
    required property TranslateViewModel vm

    readonly property int longestSilence: 10000

    spacing: 8
    lineSpacing: 6

    LabeledChip {
        label: Loc.chipClone
        MenuPicker {
            implicitHeight: Theme.fieldHeight
            name: Loc.chipClone
            choices: [{value: "none", label: Loc.cloneNone}, {value: "once", label: Loc.cloneOnce},
                      {value: "always", label: Loc.cloneAlways}]
            value: root.session.voiceClone
            onPicked: value => {
                if (value !== root.session.voiceClone) {
                    root.session.voiceClone = value
                    root.vm.reconnect(root.session)
                }
            }
        }
    }
    LabeledChip {
        label: Loc.chipVoice
        EntryField {
            name: Loc.chipVoice
            implicitWidth: 100
            placeholderText: "default"
            text: root.session.voice
            onTextEdited: root.session.voice = text
            onAccepted: root.vm.reconnect(root.session)
        }
    }
    LabeledChip {
        label: Loc.chipAEC
        Item {
            implicitWidth: aec.implicitWidth
            implicitHeight: Theme.fieldHeight
            ToggleSwitch {
                id: aec
                anchors.verticalCenter: parent.verticalCenter
                name: Loc.chipAEC
                help: Loc.helpAEC
                checked: root.session.voiceProcessing
                onToggled: {
                    root.session.voiceProcessing = checked
                    if (root.session.captureSource === "mic")
                        root.vm.reconnect(root.session)
                }
            }
        }
    }
    LabeledChip {
        label: Loc.chipVAD + " (ms)"
        Row {
            spacing: Theme.space(1)
            EntryField {
                id: silence
                name: Loc.chipVAD + " (ms)"
                implicitWidth: 52
                text: root.session.silenceMs
                inputMethodHints: Qt.ImhDigitsOnly
                validator: RegularExpressionValidator { regularExpression: /[0-9]{0,6}/ }
                onTextEdited: {
                    const typed = Readouts.milliseconds(text, root.longestSilence)
                    if (typed >= 0)
                        root.session.silenceMs = typed
                }
                onEditingFinished: text = Qt.binding(() => root.session.silenceMs)
                onAccepted: root.vm.reconnect(root.session)
                Keys.onUpPressed: stepper.stepBy(1)
                Keys.onDownPressed: stepper.stepBy(-1)
            }
            NumberStepper {
                id: stepper
                name: Loc.chipVAD + " (ms)"
                value: root.session.silenceMs
                minimumValue: 0
                maximumValue: root.longestSilence
                stepSize: 100
                onStepped: value => root.session.silenceMs = value
            }
        }
    }
}
