// An overlay with one of each popover, which says on standard error what happens to it. See press-popovers.
import QtQuick
import Tarn.Model
import Tarn.Style
import Tarn.Controls

Window {
    id: root

    function say(what: string): void {
        console.warn("say " + what)
    }
    function at(item: Item): string {
        const middle = item.mapToGlobal(item.width / 2, item.height / 2)
        return Math.round(middle.x) + " " + Math.round(middle.y)
    }

    x: 300
    y: 560
    width: 640
    height: 120
    visible: true
    flags: Qt.Window | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
           | (Qt.application.arguments.indexOf("bypass") >= 0 ? Qt.BypassWindowManagerHint : 0)
    Component.onCompleted: requestActivate()
    title: "Popovers"
    color: Theme.panelOpaque
    onActiveChanged: say("overlay " + (active ? "active" : "inactive"))
    onActiveFocusItemChanged: if (activeFocusItem && activeFocusItem.objectName) say("keys " + activeFocusItem.objectName)
    onFrameSwapped: if (!ready) {
        ready = true
        for (const item of [language, playback, font, account, other])
            say("place " + item.objectName + " " + at(item))
        say("ready")
    }
    property bool ready: false

    QtObject {
        id: onboarding
        property bool manuallyReopened: false
        onManuallyReopenedChanged: root.say("reopened " + manuallyReopened)
    }
    Row {
        x: 20
        y: 20
        spacing: 12
        LangPicker {
            id: language
            objectName: "language"
            width: 140
            label: "Target"
            selection: world.session(0).targetLang
            onPicked: value => {
                world.session(0).targetLang = value
                root.say("picked " + value)
            }
            onOpenedChanged: root.say("language " + (opened ? "open" : "closed"))
        }
        PlaybackButton {
            id: playback
            objectName: "playback"
            vm: world.vm
            onShowPopoverChanged: root.say("playback " + (showPopover ? "open" : "closed"))
        }
        FontScaleButton {
            id: font
            objectName: "font"
            vm: world.vm
            onShowPopoverChanged: root.say("font " + (showPopover ? "open" : "closed"))
        }
        AccountButton {
            id: account
            objectName: "account"
            vm: world.vm
            onboarding: onboarding
            onShowPopoverChanged: root.say("account " + (showPopover ? "open" : "closed"))
        }
        PushButton {
            id: other
            objectName: "other"
            text: "Other"
            onClicked: root.say("other clicked")
        }
    }
    Connections {
        target: world.vm
        function onRateChanged() { root.say("rate " + world.vm.rate.toFixed(2)) }
        function onSubtitleScaleChanged() { root.say("scale " + world.vm.subtitleScale.toFixed(2)) }
    }
}
