import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// The size of the subtitles and the language of the interface.
Column {
    id: root

    required property TranslateViewModel vm
    signal lookWanted()

    spacing: Theme.space(2)

    PanelTitle {
        text: Loc.subtitleSize
    }
    Row {
        spacing: Theme.space(2)
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: "A"
            textFormat: Text.PlainText
            font.pixelSize: 11
            color: Theme.primaryText
        }
        ValueSlider {
            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: 160
            name: Loc.subtitleSize
            valueText: Readouts.scale(root.vm.subtitleScale)
            from: 0.6
            to: 3.0
            stepSize: 0.05
            current: root.vm.subtitleScale
            onChanged: value => root.vm.subtitleScale = value
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: "A"
            textFormat: Text.PlainText
            font.pixelSize: 22
            color: Theme.primaryText
        }
        ValueReadout {
            anchors.verticalCenter: parent.verticalCenter
            text: Readouts.scale(root.vm.subtitleScale)
        }
    }
    PushButton {
        text: Loc.resetToDefault
        enabled: root.vm.subtitleScale !== 1.0
        onClicked: root.vm.subtitleScale = 1.0
    }
    Divider {
        width: root.width
    }
    PanelTitle {
        text: Loc.interfaceLanguage
    }
    SegmentedPicker {
        name: Loc.interfaceLanguage
        choices: Loc.choices.map(choice => ({value: choice.preference, label: choice.label}))
        value: Loc.language
        onPicked: value => Loc.setLanguage(value)
    }
    Divider {
        width: root.width
    }
    PushButton {
        objectName: "look"
        text: Loc.lookOpen
        onClicked: root.lookWanted()
    }
}
