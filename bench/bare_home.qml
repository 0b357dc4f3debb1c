import QtQuick

// Home's first screen in its barest form: the same window, navigation, banners, tool row and
// five label tiles, in plain Qt Quick items with fixed texts. No controls, no layouts, no
// models from C++, no translations, no accessibility beyond the names: what any front end
// drawing this screen costs at the least.
Window {
    width: 1024
    height: 600
    visible: true
    color: "#f3f4f6"

    component Chip: Rectangle {
        property alias label: chipText.text
        width: chipText.implicitWidth + 24
        height: 34
        radius: 4
        color: "#ffffff"
        border.color: "#d0d4da"
        Accessible.role: Accessible.Button
        Accessible.name: label
        Text { id: chipText; anchors.centerIn: parent; font.pixelSize: 15 }
        MouseArea { anchors.fill: parent; hoverEnabled: true }
    }

    Rectangle {
        id: nav
        width: 232
        height: parent.height
        color: "#252b33"
        Text { x: 16; y: 20; text: "Korvex PRO"; color: "#ffffff"; font.pixelSize: 20; font.bold: true }
        Column {
            y: 64
            width: parent.width
            Repeater {
                model: ["Home", "Cloud", "MODULES", "Label Designer", "Premade Signs", "Arc Flash",
                    "Chemical", "NFPA", "Pipe Marking", "Symbol Creator", "Printers",
                    "HELP AND RESOURCES", "More"]
                Rectangle {
                    required property string modelData
                    required property int index
                    readonly property bool heading: modelData === "MODULES" || modelData === "HELP AND RESOURCES"
                    width: parent.width
                    height: heading ? 30 : 42
                    color: index === 0 ? "#3a424c" : (mouse.containsMouse ? "#313840" : "transparent")
                    Accessible.role: heading ? Accessible.Heading : Accessible.Button
                    Accessible.name: modelData
                    Text {
                        x: 22
                        anchors.verticalCenter: parent.verticalCenter
                        visible: !parent.heading
                        text: "\u25C6"
                        color: "#e8e9eb"
                        font.pixelSize: 16
                    }
                    Text {
                        x: parent.heading ? 18 : 52
                        anchors.verticalCenter: parent.verticalCenter
                        text: parent.modelData
                        color: parent.heading ? "#a9b0b8" : "#ffffff"
                        font.pixelSize: parent.heading ? 13 : 15
                        font.bold: parent.index === 0
                    }
                    MouseArea { id: mouse; anchors.fill: parent; hoverEnabled: true }
                }
            }
        }
    }

    Item {
        x: nav.width
        width: parent.width - nav.width
        height: parent.height

        Rectangle {
            id: notice
            width: parent.width
            height: 46
            color: "#e6eef8"
            Text {
                x: 50; anchors.verticalCenter: parent.verticalCenter
                text: "New firmware is available for Ondrel X100 on line 1."
                font.pixelSize: 15
            }
            Chip { x: parent.width - 290; y: 6; label: "Open printer maintenance"; color: "#e8630a" }
        }
        Text { x: 24; y: 68; text: "Home"; font.pixelSize: 24; font.bold: true }
        Text {
            x: 24; y: 96
            text: "Open a recent label, browse your label folder or start a module."
            color: "#5f6770"
            font.pixelSize: 14
        }
        Rectangle {
            x: 24; y: 126
            width: parent.width - 48
            height: 58
            radius: 6
            color: "#fdebdc"
            border.color: "#f4c7a3"
            Text { x: 56; y: 10; text: "Premade safety signs"; font.pixelSize: 15; font.bold: true }
            Text { x: 56; y: 32; text: "Start from a ready-made sign and adapt it to your site."; font.pixelSize: 12 }
            Chip { x: parent.width - 142; y: 12; label: "Browse signs"; color: "#e8630a" }
        }
        Row {
            x: 24; y: 196
            spacing: 6
            Chip { label: "Recently viewed"; color: "#fdebdc" }
            Chip { label: "My Labels" }
            Chip { label: "Favorites" }
        }
        Row {
            x: parent.width - 214; y: 196
            spacing: 4
            Chip { label: "S" }
            Chip { label: "M" }
            Chip { label: "L" }
            Chip { label: "\u25A6" }
            Chip { label: "\u2630" }
        }
        Rectangle {
            x: 24; y: 244
            width: 420; height: 22
            border.color: "#c4c9cf"
            radius: 3
            TextInput { x: 28; anchors.verticalCenter: parent.verticalCenter; width: parent.width - 36; font.pixelSize: 13 }
        }
        Chip { x: 450; y: 242; height: 24; label: "Name A to Z" }
        Rectangle {
            x: 24; y: 280
            width: parent.width - 48
            height: parent.height - 304
            radius: 6
            color: "#ffffff"
            border.color: "#d0d4da"
            GridView {
                anchors.fill: parent
                anchors.margins: 10
                clip: true
                cellWidth: 180
                cellHeight: 160
                model: ListModel {
                    ListElement { name: "Ammonia Return.kxam"; viewed: "one month ago"; kind: "KXAM" }
                    ListElement { name: "Emergency Exit.kxld"; viewed: "today"; kind: "KXLD" }
                    ListElement { name: "Forklift Traffic.kxld"; viewed: "one day ago"; kind: "KXLD" }
                    ListElement { name: "Panel 4B Arc Flash.kxaf"; viewed: "3 days ago"; kind: "KXAF" }
                    ListElement { name: "Solvent Cabinet.kxcl"; viewed: "4 days ago"; kind: "KXCL" }
                }
                delegate: Rectangle {
                    required property string name
                    required property string viewed
                    required property string kind
                    width: 168
                    height: 148
                    radius: 4
                    border.color: "#d0d4da"
                    Accessible.role: Accessible.ListItem
                    Accessible.name: name
                    Rectangle {
                        x: 8; y: 8
                        width: parent.width - 16
                        height: 92
                        radius: 4
                        color: kind === "KXAM" ? "#1f6fb2" : "#e8630a"
                        Text { anchors.centerIn: parent; text: "\u2691"; color: "#ffffff"; font.pixelSize: 40 }
                        Text { x: 6; y: parent.height - 20; text: kind; color: "#ffffff"; font.pixelSize: 11; font.bold: true }
                        Rectangle {
                            x: parent.width - 28; y: 4
                            width: 24; height: 24; radius: 12
                            color: "#80000000"
                            Text { anchors.centerIn: parent; text: "\u2606"; color: "#ffffff" }
                        }
                    }
                    Text { x: 8; y: 106; width: parent.width - 16; elide: Text.ElideMiddle; text: name; font.pixelSize: 14 }
                    Text { x: 8; y: 126; text: viewed; color: "#5f6770"; font.pixelSize: 12 }
                    MouseArea { anchors.fill: parent; hoverEnabled: true }
                }
            }
        }
    }
}
