import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// Asks for the permission to hear other programs, which a session that was started needs.
FocusScope {
    id: root

    required property TranslateViewModel vm
    readonly property alias granted: prompt.granted

    implicitWidth: 380
    implicitHeight: column.implicitHeight + 40

    Accessible.role: Accessible.Dialog
    Accessible.name: Loc.jitScreenTitle
    Accessible.description: Loc.jitScreenBody

    Keys.onEscapePressed: prompt.cancel()

    ScreenRecPrompt {
        id: prompt
        viewModel: root.vm
        shown: root.visible && root.Window.window !== null && root.Window.window.visible
    }
    Column {
        id: column
        x: 20
        y: 20
        width: root.width - 40
        spacing: 14

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            Symbol {
                id: waveform
                name: "waveform.badge.mic"
                size: Theme.promptSymbol
                color: Theme.accent
            }
            Symbol {
                anchors.bottom: waveform.bottom
                name: "mic.fill"
                size: Theme.promptSymbol / 2
                color: Theme.accent
            }
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: Loc.jitScreenTitle
            textFormat: Text.PlainText
            font.pixelSize: Theme.title3
            font.weight: Font.DemiBold
            color: Theme.primaryText
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            width: Paragraphs.balancedWidth(text, font, column.width)
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: Loc.jitScreenBody
            textFormat: Text.PlainText
            font.pixelSize: Theme.callout
            lineHeight: 1.15
            color: Theme.secondaryText
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: prompt.granted
            spacing: Theme.space(1.5)
            Accessible.role: Accessible.AlertMessage
            Accessible.name: Loc.permGrantedRelaunch
            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                name: "checkmark.circle.fill"
                color: Theme.success
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: Loc.permGrantedRelaunch
                textFormat: Text.PlainText
                font.pixelSize: Theme.callout
                color: Theme.success
            }
        }
        Grid {
            readonly property real roomy: cancel.implicitWidth + settings.implicitWidth + relaunch.implicitWidth
                                          + 2 * spacing

            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.space(2)
            columns: roomy <= column.width ? 3 : 1
            PromptButton {
                id: cancel
                text: Loc.cancel
                onClicked: prompt.cancel()
            }
            PromptButton {
                id: settings
                text: Loc.jitOpenSettings
                onClicked: prompt.openSettings()
            }
            PromptButton {
                id: relaunch
                text: Loc.jitRelaunch
                prominent: true
                focus: true
                onClicked: prompt.relaunch()
            }
        }
    }

    component PromptButton: PushButton {
        width: parent.columns === 1 ? column.width : implicitWidth
        leftPadding: Theme.space(2)
        rightPadding: Theme.space(2)
    }
}
