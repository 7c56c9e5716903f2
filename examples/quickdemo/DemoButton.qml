import QtQuick 2.12

// A button made in QML: a rectangle with a label and a mouse area, as many programs make their own.
Rectangle {
    id: button
    property alias text: label.text
    signal clicked

    width: 120
    height: 32
    radius: 4
    color: area.pressed ? "steelblue" : "lightsteelblue"

    Text {
        id: label
        anchors.centerIn: parent
    }
    MouseArea {
        id: area
        anchors.fill: parent
        onClicked: button.clicked()
    }
}
