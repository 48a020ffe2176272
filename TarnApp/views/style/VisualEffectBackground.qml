import QtQuick
import Tarn.Style

/// The desktop's blur behind a window, with a material over it. The blur itself is asked of the compositor by the
/// window's styling; this draws the material, which is opaque where no compositor runs.
Plate {
    property string material: "hudWindow"       ///< "hudWindow": panel; "underWindowBackground": window
    property string blending: "behindWindow"

    color: material === "hudWindow" ? Theme.panel : Theme.window
}
