import QtQuick
import Tarn.Style

/// A heading or a paragraph of a page, heard as such.
Text {
    id: root

    property bool heading: false

    textFormat: Text.PlainText
    wrapMode: Text.Wrap
    font.weight: root.heading ? Font.DemiBold : Font.Normal
    color: root.heading ? Theme.primaryText : Theme.secondaryText
    Accessible.role: root.heading ? Accessible.Heading : Accessible.Paragraph
    Accessible.name: root.text
}
