// Every control in every state, to be looked at.
import QtQuick
import Tarn.Model
import Tarn.Style
import Tarn.Controls

Window {
    id: root
    width: 1240
    height: 760
    visible: true
    flags: Qt.FramelessWindowHint
    color: Theme.panelOpaque

    QtObject {
        id: onboarding
        property bool manuallyReopened: false
    }
    component Line: Row { spacing: 12; height: 40 }
    component Label: Text { width: 110; color: Theme.secondaryText; font.pixelSize: 11; textFormat: Text.PlainText }

    Row {
        x: 20; y: 16; spacing: 40
        Column {
            spacing: 6
            Line { Label { text: "PushButton" }
                PushButton { text: "Plain"; onClicked: print("plain") } PushButton { text: "Prominent"; prominent: true }
                PushButton { text: "Symbol"; symbol: "play.fill"; prominent: true; minimumWidth: 60 }
                PushButton { text: Loc.stop; symbol: "stop.fill"; prominent: true; tint: Theme.danger; tintInk: Theme.dangerInk } }
            Line { Label { text: "" }
                PushButton { text: Loc.connecting; busy: true; prominent: true } PushButton { text: "Disabled"; enabled: false }
                PushButton { text: "Disabled"; prominent: true; enabled: false } PushButton { text: "A long title cut"; width: 90 } }
            Line { Label { text: "SymbolButton" }
                SymbolButton { symbol: "plus.circle"; help: Loc.addSource } SymbolButton { symbol: "slider.horizontal.3"; help: Loc.helpSettings }
                SymbolButton { symbol: "slider.horizontal.3"; active: true; help: Loc.helpSettings }
                SymbolButton { symbol: "textformat.size"; enabled: false; help: "x" }
                PlaybackButton { objectName: "playback"; vm: world.vm } FontScaleButton { objectName: "font"; vm: world.vm }
                AccountButton { objectName: "account"; vm: world.vm; onboarding: onboarding } LinkButton { text: Loc.loginWhyLink } }
            Line { Label { text: "SegmentedPicker" }
                SegmentedPicker { width: 130; choices: [{value: "solo", label: Loc.modeSolo}, {value: "c", label: Loc.modeConversation}]; value: "solo"; name: "m"; help: Loc.helpModeToggle }
                SegmentedPicker { objectName: "segments"; choices: Loc.choices.map(c => ({value: c.preference, label: c.label})); value: Loc.language; onPicked: v => Loc.setLanguage(v) } }
            Line { Label { text: "ValueSlider" }
                ValueSlider { current: 0.3; name: "a" } ValueSlider { current: 1; name: "b" } ValueSlider { current: 0; name: "b" } ValueSlider { current: 0.5; enabled: false; name: "c" } }
            Line { Label { text: "Switch, field" }
                ToggleSwitch { checked: true; help: Loc.helpAEC } ToggleSwitch { help: "off" } ToggleSwitch { checked: true; enabled: false; help: "off" }
                EntryField { name: "v"; placeholderText: "default" } EntryField { text: "Cherry"; name: "v" } EntryField { text: "off"; name: "v"; enabled: false }
                NumberStepper { value: 0; minimumValue: 0; maximumValue: 100; name: "n" } Spinner {} }
            Line { Label { text: "MenuPicker" }
                LangPicker { objectName: "source"; label: Loc.langSourceLabel; selection: world.session(0).sourceLang; includeAuto: true; onPicked: v => world.session(0).sourceLang = v }
                Text { text: "→"; color: Theme.primaryText; font.pixelSize: 14 }
                LangPicker { objectName: "target"; label: Loc.langTargetLabel; selection: world.session(0).targetLang; onPicked: v => world.session(0).targetLang = v }
                LangPicker { label: "x"; selection: "tlh-Latn" } LangPicker { label: "x"; selection: "en"; enabled: false } }
            Line { Label { text: "StatusDot" }
                Repeater { model: ["idle", "connecting", "running", "stopping", "error"]
                    Row { required property string modelData; spacing: 6
                        StatusDot { state: modelData; anchors.verticalCenter: parent.verticalCenter }
                        Text { text: modelData; color: Theme.primaryText; font.pixelSize: 12 } } } }
            Line { Label { text: "LevelMeter" }
                Repeater { model: [0, 0.001, 0.01, 0.05, 0.1, 0.35, 1]; LevelMeter { required property real modelData; level: modelData } } }
            Line { Label { text: "ErrorChip" }
                ErrorChip { message: Loc.errSessionExpired } ErrorChip { width: 220; message: Loc.errMicDenied } }
            Line { Label { text: "SuccessToast" }
                SuccessToast { message: "Signed in as ada@example.org" } SuccessToast { width: 200; message: "A message that is far too long" } }
            Line { Label { text: "Colours" }
                Repeater { model: ["primary", "secondary", "orange", "red"]; Text { required property string modelData; text: modelData; color: Theme.tone(modelData); font.pixelSize: 13 } } }
        }
        Column {
            spacing: 14
            SettingsChipRow { width: 470; session: world.session(0); vm: world.vm }
            SettingsChipRow { width: 300; session: world.session(0); vm: world.vm }
            Row { spacing: 14
                Rectangle { width: playback.width + 24; height: playback.height + 20; radius: 12; color: Theme.popover; border.color: Theme.hairline
                    PlaybackPanel { id: playback; x: 12; y: 10; vm: world.vm } }
            }
            Row { spacing: 14
                Rectangle { width: font.width + 24; height: font.height + 20; radius: 12; color: Theme.popover; border.color: Theme.hairline
                    FontScalePanel { id: font; x: 12; y: 10; vm: world.vm } }
                Rectangle { width: account.width + 8; height: account.height + 8; radius: 12; color: Theme.popover; border.color: Theme.hairline
                    AccountPanel { id: account; x: 4; y: 4; vm: world.vm; onboarding: onboarding } }
            }
            Rectangle { width: 380; height: modal.implicitHeight; radius: 12; color: Theme.popover; border.color: Theme.hairline
                ScreenRecJITModal { id: modal; width: 380; height: implicitHeight; vm: world.vm } }
        }
    }
}
