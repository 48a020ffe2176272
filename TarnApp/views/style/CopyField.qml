import QtQuick
import Tarn.Style

/// A line of text to be taken elsewhere, with a button that copies it.
Item {
    id: root

    required property string text
    required property string name           ///< what it is, for screen readers
    required property string copyLabel
    required property string copiedLabel    ///< what the button says once it has been pressed
    property bool copied: false

    implicitWidth: 320
    implicitHeight: Math.max(field.implicitHeight, button.implicitHeight)
    onTextChanged: copied = false

    EntryField {
        id: field
        anchors.verticalCenter: parent.verticalCenter
        width: button.x - Theme.space(2)
        readOnly: true
        text: root.text
        onTextChanged: cursorPosition = 0   // its beginning is in view
        name: root.name
        Accessible.editable: false
        Accessible.readOnly: true
    }
    PushButton {
        id: button
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        text: root.copied ? root.copiedLabel : root.copyLabel
        onClicked: {
            field.selectAll()
            field.copy()
            field.deselect()
            root.copied = true
        }
    }
}
