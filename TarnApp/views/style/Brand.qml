pragma Singleton
import QtQuick

/// The colours that Tarn is known by.
QtObject {
    readonly property color primary: Qt.rgba(168 / 255, 181 / 255, 255 / 255, 1)
    readonly property color primaryDark: Qt.rgba(120 / 255, 134 / 255, 217 / 255, 1)
    readonly property color accent: Qt.rgba(255 / 255, 209 / 255, 106 / 255, 1)
    readonly property color success: Qt.rgba(93 / 255, 211 / 255, 158 / 255, 1)
}
