import QtQuick
import Tarn.Controls
import Tarn.Model
import Tarn.Overlay
import Tarn.Style

/// What the main window shows: the strip of shared controls over one column for each session.
Item {
    id: root

    required property TranslateViewModel vm
    required property QtObject onboarding           ///< the coordinator

    readonly property int minimumContentWidth: state.conversationMinWidth
    readonly property int minimumContentHeight: 200
    readonly property ContentState contentState: state
    /// The controls need all of it.
    readonly property real backdrop: state.hovering ? state.backgroundOpacity
                                                    : state.backgroundOpacity * Look.backgroundOpacity / 100
    signal windowWanted(name: string)               ///< one of its own: "record", "look", "elsewhere"
    readonly property Window sheet: sheet.window    ///< null while there is none

    implicitWidth: minimumContentWidth
    implicitHeight: minimumContentHeight
    Component.onCompleted: state.appeared()

    ContentState {
        id: state
        viewModel: root.vm
        popoverOpen: Popovers.anyOpen || sheet.active
    }
    FrameLimit {
        window: root.Window.window
    }
    PointerRest {
        window: root.Window.window
    }
    HoverHandler {
        onHoveredChanged: hovered ? state.pointerEntered() : state.pointerLeft()
    }

    VisualEffectBackground {
        objectName: "background"
        anchors.fill: parent
        material: "hudWindow"
        blending: "behindWindow"
        radius: Appearance.translucent ? Theme.radiusPanel : 0
        border.width: 1
        border.color: Theme.hairline
        opacity: root.backdrop
        visible: opacity > 0
        Behavior on opacity { NumberAnimation { duration: Theme.fade; easing.type: Easing.InOutQuad } }
    }
    Item {
        id: chrome
        objectName: "chrome"
        width: parent.width
        height: state.showChromeAndDividers ? strip.implicitHeight + line.height : 0
        visible: height > 0
        clip: height < strip.implicitHeight + line.height
        Behavior on height { NumberAnimation { duration: Theme.fade; easing.type: Easing.InOutQuad } }
        SharedChrome {
            id: strip
            objectName: "strip"
            anchors.bottom: line.top
            width: parent.width
            height: implicitHeight
            vm: root.vm
            onboarding: root.onboarding
            contentState: state
            onWindowWanted: name => root.windowWanted(name)
            opacity: state.chromeOpacity > 0 ? Math.max(state.chromeOpacity, Theme.dimmed) : 0
            Behavior on opacity { NumberAnimation { duration: Theme.fade; easing.type: Easing.InOutQuad } }
        }
        Divider {
            id: line
            anchors.bottom: parent.bottom
            width: parent.width
        }
    }
    SourceColumns {
        anchors { left: parent.left; right: parent.right; top: chrome.bottom; bottom: parent.bottom }
        vm: root.vm
        headerOpacity: Math.max(state.headerOpacity, Theme.dimmed)
        bare: root.backdrop === 0
        faint: root.backdrop * 100 < Look.leastBackground
    }
    Toast {
        objectName: "toast"
        message: root.vm.toastMessage
    }
    SheetWindow {
        id: sheet
        owner: root
        active: root.vm.screenRecNeededEvent
        onDismissed: root.vm.screenRecNeededEvent = false
        Loader {
            focus: true
            Component.onCompleted: setSource("qrc:/qt/qml/Tarn/Controls/ScreenRecJITModal.qml", {vm: root.vm})
        }
    }
}
