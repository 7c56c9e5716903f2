import QtQuick 2.12

Rectangle {
    id: root
    objectName: "content"
    width: 360
    height: 320
    color: "white"
    property int clicks: 0
    property var note: "first"

    function greet(name, times) {
        return "Hi, " + name + (times > 1 ? " x" + times : "")
    }

    Column {
        x: 10
        y: 10
        spacing: 8

        DemoButton {
            id: countButton
            objectName: "countButton"
            text: "Count"
            onClicked: root.clicks += 1
        }
        Text {
            id: countLabel
            objectName: "countLabel"
            text: "Clicks: " + root.clicks
        }
        Rectangle {
            width: 200
            height: 24
            border.color: "black"
            TextInput {
                id: nameInput
                objectName: "nameInput"
                anchors.fill: parent
                anchors.margins: 4
            }
        }
        Text {
            id: greeting
            text: nameInput.text.length > 0 ? "Hello, " + nameInput.text + "!" : ""
        }
        DemoButton {
            id: laterButton
            text: "Show later"
            onClicked: laterTimer.start()
        }
        DemoButton {
            objectName: "offButton"
            text: "Off"
            enabled: false
            onClicked: root.clicks += 100
        }
    }

    Timer {
        id: laterTimer
        interval: 300
        onTriggered: lateLoader.active = true
    }
    Loader {
        id: lateLoader
        active: false
        x: 140
        y: 130
        sourceComponent: Rectangle {
            objectName: "lateItem"
            width: 60
            height: 20
            color: "orange"
        }
    }

    PinchArea {
        id: pinchArea
        objectName: "pinchArea"
        x: 200
        y: 200
        width: 150
        height: 110
        pinch.target: photo
        pinch.minimumScale: 0.2
        pinch.maximumScale: 5

        Rectangle {
            id: photo
            objectName: "photo"
            anchors.centerIn: parent
            width: 60
            height: 40
            color: "teal"
        }
    }
}
