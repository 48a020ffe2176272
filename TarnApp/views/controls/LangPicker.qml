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

    name: label
    help: label
    choices: LanguageRows.choices(includeAuto ? Loc.langAutoDetect : "", offered)
    value: selection
}
