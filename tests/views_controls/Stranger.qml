// Another program's window.
import QtQuick

Window {
    x: 50
    y: 50
    width: 300
    height: 200
    visible: true
    title: "Stranger"
}
