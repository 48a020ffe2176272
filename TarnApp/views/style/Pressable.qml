import QtQuick
import Tarn.Style
import QtQuick.Templates as T

/// What can be pressed: by the pointer, by Return as well as Space, and by a screen reader.
T.AbstractButton {
    id: root

    property string help            ///< tooltip, where there is one

    function press(): void {
        if (enabled)
            clicked()
    }

    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    opacity: enabled ? 1 : Theme.disabledOpacity

    Accessible.role: Accessible.Button
    Accessible.name: text !== "" ? text : help
    Accessible.description: help
    Accessible.onPressAction: press()

    Keys.onReturnPressed: press()
    Keys.onEnterPressed: press()
}
