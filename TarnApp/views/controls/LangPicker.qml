import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Style

/// The choice of a language. `picked` tells of the code that the user chose.
MenuPicker {
    id: root

    required property string label      ///< what it is the language of
    required property string selection  ///< a code; with `includeAuto`, "" is the automatic choice
    property bool includeAuto: false
    property list<string> offered       ///< codes that the server has; empty: it does not tell

    property bool tight: false          ///< narrow margins
    property bool showsCode: true       ///< behind the name; the tooltip and the menu have it in any case

    readonly property var chosen: choices.find(choice => choice.value === selection)
    readonly property string whole: chosen ? chosen.label : selection
    readonly property string plain: chosen ? chosen.name : selection
    /// Without the text, with wide margins.
    readonly property real frameWidth: Theme.space(3.5) + Theme.title3 + Theme.space(1)
    readonly property size textWidths: Qt.size(Math.ceil(wholeWidth.advanceWidth) + 1,      // and without the code
                                               Math.ceil(plainWidth.advanceWidth) + 1)

    name: label
    help: showsCode ? label : label + ": " + whole
    text: showsCode ? whole : plain
    leftPadding: Theme.space(tight ? 1.5 : 2.5)
    rightPadding: Theme.space(tight ? 0.5 : 1)
    Accessible.name: label + ": " + whole
    choices: LanguageRows.choices(includeAuto ? Loc.langAutoDetect : "", offered)
    value: selection

    TextMetrics {
        id: wholeWidth
        font.pixelSize: Theme.callout
        text: root.whole
    }
    TextMetrics {
        id: plainWidth
        font.pixelSize: Theme.callout
        text: root.plain
    }
}
