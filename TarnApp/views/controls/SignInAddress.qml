import QtQuick
import Tarn.Model
import Tarn.Style

/// The address of the sign-in page, for the user to open where no browser could be.
Column {
    id: root

    required property TranslateViewModel vm

    spacing: Theme.space(2)

    Text {
        width: address.width
        text: Loc.openByHand
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        font.pixelSize: Theme.callout
        color: Theme.primaryText
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
    CopyField {
        id: address
        text: root.vm.signInAddress
        name: Loc.openByHand
        copyLabel: Loc.copy
        copiedLabel: Loc.copied
    }
}
