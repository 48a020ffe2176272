import Tarn.Overlay
import Tarn.Shell
import QtQuick

/// What the main window shows, with the places by which it is moved and resized.
ContentView {
    id: root

    required property QtObject drag     ///< WindowDrag

    MoveArea {
        drag: root.drag
    }
    ResizeEdges {
        drag: root.drag
    }
}
