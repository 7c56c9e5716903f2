import QtQuick 2.12
import QtQuick.Window 2.12

Window {
    objectName: "mainWindow"
    title: "Vexil Quick demo"
    width: 360
    height: 320
    visible: true

    DemoContent {
        anchors.fill: parent
    }
}
