import QtQuick
import Tarn.Model
import Tarn.Style

/// One way to sign in that the page in the browser offers.
Column {
    id: root

    required property string modelData      ///< of `LoginSlideState.providers`
    readonly property string glyph: ({email: "envelope.fill", google: "g.circle", apple: "apple.logo",
                                      github: "chevron.left.forwardslash.chevron.right"})[modelData]
    readonly property string label: ({email: Loc.loginProviderEmail, google: "Google", apple: "Apple",
                                      github: "GitHub"})[modelData]
    readonly property bool ringed: root.glyph === "g.circle"    // which the font of symbols has not

    width: 76
    spacing: Theme.space(1)
    Accessible.role: Accessible.StaticText
    Accessible.name: root.label

    Item {
        anchors.horizontalCenter: parent.horizontalCenter
        width: Theme.title3
        height: Theme.title3
        Symbol {
            anchors.centerIn: parent
            visible: !root.ringed
            name: root.glyph
        }
        Plate {
            anchors.fill: parent
            visible: root.ringed
            radius: width / 2
            color: "transparent"
            border.width: 1.5
            border.color: Theme.primaryText
            Text {
                anchors.centerIn: parent
                text: "G"
                textFormat: Text.PlainText
                font.pixelSize: Theme.caption2
                font.weight: Font.Bold
                color: Theme.primaryText
                Accessible.ignored: true
            }
        }
    }
    Text {
        anchors.horizontalCenter: parent.horizontalCenter
        text: root.label
        textFormat: Text.PlainText
        font.pixelSize: Theme.caption2
        color: Theme.secondaryText
    }
}
