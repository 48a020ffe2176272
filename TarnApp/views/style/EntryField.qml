import QtQuick
import Tarn.Style
import QtQuick.Templates as T

/// A line of text to be typed. `textEdited` tells of the user's changes, `accepted` of Return.
T.TextField {
    id: root

    property string name            ///< what is typed, for screen readers

    implicitWidth: 100
    implicitHeight: Theme.fieldHeight
    leftPadding: Theme.space(1.5)
    rightPadding: Theme.space(1.5)
    verticalAlignment: TextInput.AlignVCenter
    font.pixelSize: Theme.caption
    color: Theme.primaryText
    placeholderTextColor: Theme.secondaryText
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentInk
    selectByMouse: true
    activeFocusOnTab: true
    hoverEnabled: true
    clip: true
    opacity: enabled ? 1 : Theme.disabledOpacity

    Accessible.role: Accessible.EditableText
    Accessible.name: name
    Accessible.editable: true

    background: Plate {
        radius: Theme.radiusSmall
        color: root.hovered && !root.activeFocus ? Theme.fieldHovered : Theme.field
        border.width: root.activeFocus ? Theme.focusWidth : 1
        border.color: root.activeFocus ? Theme.focusRing : Theme.hairline
        Text {
            x: root.leftPadding
            width: parent.width - root.leftPadding - root.rightPadding
            anchors.verticalCenter: parent.verticalCenter
            visible: root.text === "" && root.preeditText === ""
            text: root.placeholderText
            textFormat: Text.PlainText
            elide: Text.ElideRight
            font.pixelSize: root.font.pixelSize
            color: root.placeholderTextColor
        }
    }
}
