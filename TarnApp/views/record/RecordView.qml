import QtQuick
import QtQuick.Layouts
import Tarn.Controls
import Tarn.Model
import Tarn.Record
import Tarn.Style

/// What was said, with the means to find, copy and save it.
FocusScope {
    id: root

    required property RecordWindowState record
    readonly property RecordRows rows: record.rows
    readonly property bool isLive: record.run === ""
    signal closeWanted()

    Connections {
        target: Loc
        function onLanguageChanged(): void {
            root.record.retranslate()
        }
    }
    Shortcut {
        sequences: [StandardKey.Find]
        onActivated: search.forceActiveFocus(Qt.ShortcutFocusReason)
    }
    Shortcut {
        sequences: [StandardKey.Save]
        enabled: root.rows.count > 0
        onActivated: saveButton.clicked()
    }
    // What was done last goes first, and then the window.
    Shortcut {
        sequence: "Escape"
        onActivated: {
            if (root.record.saving.askedPath !== "")
                root.record.saving.cancel()
            else if (root.record.selection.count > 0)
                root.record.selection.clear()
            else if (root.rows.search !== "")
                root.rows.search = ""
            else
                root.closeWanted()
        }
    }
    Shortcut {
        sequences: [StandardKey.Close]
        onActivated: root.closeWanted()
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.margins: Theme.space(3)
            spacing: Theme.space(2)

            MenuPicker {
                objectName: "runs"
                Layout.maximumWidth: root.width * 0.4
                Layout.preferredWidth: Math.min(implicitWidth, root.width * 0.4)
                name: Loc.recordOlder
                choices: root.record.runs
                value: root.record.run
                onPicked: value => root.record.run = value
            }
            EntryField {
                id: search
                objectName: "search"
                Layout.fillWidth: true
                implicitHeight: Theme.controlHeight
                focus: true
                name: Loc.recordSearch
                placeholderText: Loc.recordSearch
                text: root.rows.search
                onTextEdited: root.rows.search = text
                Keys.onDownPressed: list.forceActiveFocus(Qt.TabFocusReason)
            }
            PushButton {
                id: saveButton
                objectName: "save"
                text: Loc.recordSave
                enabled: root.rows.count > 0
                onClicked: saving.toggleAt(saveButton)
                Popover {
                    id: saving
                    title: Loc.recordSave
                    RecordSavePanel {
                        onWanted: (format, texts) => {
                            saving.dismiss(false)
                            root.record.save(format, texts, root.Window.window)
                        }
                    }
                }
            }
            SymbolButton {
                id: settings
                objectName: "keeping"
                symbol: "slider.horizontal.3"
                help: Loc.recordSettings
                visible: root.record.keeping.isAvailable
                active: keeping.opened
                onClicked: keeping.toggleAt(settings)
                Popover {
                    id: keeping
                    title: Loc.recordSettings
                    RecordKeepingPanel {
                        record: root.record
                    }
                }
            }
        }
        RecordSources {
            Layout.fillWidth: true
            Layout.leftMargin: Theme.space(3)
            Layout.rightMargin: Theme.space(3)
            Layout.bottomMargin: Theme.space(2)
            visible: sources.length > 1
            sources: root.rows.sources
            onToggled: key => root.rows.toggleSource(key)
        }
        Text {
            objectName: "failure"
            Layout.fillWidth: true
            Layout.leftMargin: Theme.space(3)
            Layout.rightMargin: Theme.space(3)
            Layout.bottomMargin: Theme.space(2)
            visible: text !== ""
            text: root.record.keeping.failureText
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            font.pixelSize: Theme.caption
            color: Theme.orange
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
        Divider {
            Layout.fillWidth: true
        }
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            RecordList {
                id: list
                objectName: "list"
                anchors.fill: parent
                rows: root.rows
                selection: root.record.selection
                onCopyWanted: root.record.copy()
            }
            Text {
                objectName: "nothing"
                anchors.centerIn: parent
                width: Math.min(parent.width - 2 * Theme.space(6), 360)
                visible: root.rows.count === 0 && !root.rows.isSearching
                text: root.rows.total === 0 ? Loc.recordEmpty : Loc.recordNothingFound
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignHCenter
                font.pixelSize: Theme.body
                color: Theme.secondaryText
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            PushButton {
                objectName: "jump"
                anchors { bottom: parent.bottom; horizontalCenter: parent.horizontalCenter; bottomMargin: Theme.space(3) }
                visible: root.isLive && !list.follows && root.rows.count > 0
                prominent: true
                text: Loc.recordJump
                onClicked: list.jumpToEnd()
            }
        }
        Divider {
            Layout.fillWidth: true
        }
        RecordFoot {
            Layout.fillWidth: true
            Layout.margins: Theme.space(2)
            Layout.leftMargin: Theme.space(3)
            record: root.record
        }
    }
}
