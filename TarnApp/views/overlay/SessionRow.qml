import QtQuick
import QtQuick.Layouts
import Tarn.Controls
import Tarn.Model
import Tarn.Overlay
import Tarn.Style

/// What one session listens to and translates, in one line.
Item {
    id: root

    required property TranslateViewModel vm
    required property TranslateSession session

    property list<string> faults                ///< what is wrong with it while it runs, to be read
    readonly property real end: to.x + to.width         ///< of the last control

    clip: true
    implicitHeight: 28

    SourceChoice {
        id: choice
        viewModel: root.vm
        session: root.session
    }
    InputLevel {
        id: input
        viewModel: root.vm
        session: root.session
    }
    RowLayout {
        id: line

        readonly property real wanted: dot.width + source.implicitWidth + 60 + from.implicitWidth
                                       + arrow.implicitWidth + to.implicitWidth + 6 * spacing
                                       + (name.visible ? name.Layout.preferredWidth + spacing : 0)

        /// The meter gives way before any text does.
        readonly property real meter: Math.max(20, Math.min(60, root.width - wanted + 48))

        width: parent.width
        height: 28
        spacing: Theme.space(root.width < 340 ? 1 : 1.5)

        StatusDot {
            id: dot
            state: root.session.state
            faults: root.faults
        }
        SymbolButton {
            id: source
            objectName: "source"
            symbol: choice.symbol
            trailingSymbol: "chevron.down"
            help: choice.sourceHelp
            Accessible.role: Accessible.ButtonMenu
            Accessible.name: Loc.captureSource + ": " + choice.sourceHelp
            onClicked: menu.toggleAt(source)

            SourceMenu {
                id: menu
                choice: choice
            }
        }
        Text {
            id: name
            Layout.preferredWidth: Math.min(implicitWidth, 160)
            Layout.fillWidth: true
            Layout.maximumWidth: Math.min(implicitWidth, 160)
            Layout.minimumWidth: 0
            visible: text !== ""
            text: choice.applicationName
            textFormat: Text.PlainText
            elide: Text.ElideRight
            maximumLineCount: 1
            font.pixelSize: Theme.caption
            color: Theme.primaryText
        }
        LevelMeter {
            Layout.preferredWidth: line.meter
            Layout.minimumWidth: line.meter
            Layout.maximumWidth: line.meter
            level: input.level
        }
        LangPicker {
            id: from
            Layout.fillWidth: true
            Layout.minimumWidth: 44
            Layout.maximumWidth: implicitWidth
            label: Loc.langSourceLabel
            selection: root.session.sourceLang
            includeAuto: true
            offered: root.vm.heardLanguages
            onPicked: value => root.session.sourceLang = value
        }
        Text {
            id: arrow
            text: "→"
            textFormat: Text.PlainText
            font.pixelSize: Theme.callout
            color: Theme.secondaryText
        }
        LangPicker {
            id: to
            objectName: "target"
            Layout.fillWidth: true
            Layout.minimumWidth: 44
            Layout.maximumWidth: implicitWidth
            label: Loc.langTargetLabel
            selection: root.session.targetLang
            includeAuto: false
            offered: {
                const told = root.vm.heardLanguages  // changes when the server tells others
                return told.length > 0 ? root.vm.targetLanguages(root.session.sourceLang) : []
            }
            onPicked: value => root.session.targetLang = value
        }
        Item {
            Layout.fillWidth: true
            Layout.minimumWidth: 0
            Layout.preferredWidth: 0
        }
    }
}
