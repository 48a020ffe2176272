import QtQuick
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
    RowPlaces {
        id: places
        width: root.width
        dotWidth: dot.width
        sourceWidth: source.implicitWidth
        nameWidth: Math.ceil(name.implicitWidth)
        arrowWidth: Math.ceil(arrow.implicitWidth)
        frameWidth: from.frameWidth
        fromWidths: from.textWidths
        toWidths: to.textWidths
    }
    StatusDot {
        id: dot
        y: (root.height - height) / 2
        state: root.session.state
        faults: root.faults
    }
    SymbolButton {
        id: source
        objectName: "source"
        x: places.source.x
        y: Math.round((root.height - height) / 2)
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
        objectName: "application"
        x: places.name.x
        width: places.name.width
        height: root.height
        visible: width > 0
        verticalAlignment: Text.AlignVCenter
        text: choice.applicationName
        textFormat: Text.PlainText
        elide: Text.ElideRight
        maximumLineCount: 1
        font.pixelSize: Theme.caption
        color: Theme.primaryText

        HoverHandler {
            id: pointer
        }
        HelpTip {
            text: choice.sourceHelp
            target: name
            hovered: pointer.hovered && name.truncated
        }
    }
    LevelMeter {
        x: places.meter.x
        y: (root.height - height) / 2
        width: places.meter.width
        visible: width > 0
        level: input.level
    }
    LangPicker {
        id: from
        objectName: "from"
        x: places.from.x
        width: places.from.width
        tight: places.tight
        showsCode: places.showsCodes
        label: Loc.langSourceLabel
        selection: root.session.sourceLang
        includeAuto: true
        offered: root.vm.heardLanguages
        onPicked: value => root.session.sourceLang = value
    }
    Text {
        id: arrow
        x: places.arrow.x
        height: root.height
        verticalAlignment: Text.AlignVCenter
        text: "→"
        textFormat: Text.PlainText
        font.pixelSize: Theme.callout
        color: Theme.secondaryText
    }
    LangPicker {
        id: to
        objectName: "target"
        x: places.to.x
        width: places.to.width
        tight: places.tight
        showsCode: places.showsCodes
        label: Loc.langTargetLabel
        selection: root.session.targetLang
        includeAuto: false
        offered: {
            const told = root.vm.heardLanguages  // changes when the server tells others
            return told.length > 0 ? root.vm.targetLanguages(root.session.sourceLang) : []
        }
        onPicked: value => root.session.targetLang = value
    }
}
