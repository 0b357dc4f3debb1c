import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Korvex.Dashboard

// One entry of the navigation bar: icon, name, selection mark, and a busy indicator while the
// module behind it starts.
AbstractButton {
    id: button

    property string glyph
    property bool selected: false
    property bool loading: false
    property bool running: false
    // Set by the name's text: its contentItem may make no id the button could bind to.
    property bool nameCut: false

    implicitHeight: 40
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.role: Accessible.Button
    Accessible.name: button.text
    // A name cut short (a long label file's, or a long module name) shows whole on hover.
    ToolTip.visible: button.nameCut && button.hovered
    ToolTip.text: button.text
    ToolTip.delay: Theme.toolTipDelay
    Accessible.description: loading ? qsTr("Starting") : (running ? qsTr("Running") : "")
    Accessible.selectable: true
    Accessible.selected: button.selected
    // What a screen reader's press does: a click. Found by name, so that the role's own press
    // action is the one listed.
    function accessiblePressAction() {
        button.clicked()
    }

    Keys.onReturnPressed: button.clicked()
    Keys.onEnterPressed: button.clicked()

    background: Rectangle {
        color: button.selected ? Theme.navSelected : (button.hovered ? Theme.navHover : "transparent")
        radius: Theme.radius
        border.width: button.activeFocus && FocusFrames.shown ? 2 : 0
        border.color: Theme.focus
        Rectangle {
            visible: button.selected
            width: 3
            radius: 1.5
            height: parent.height - 14
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            color: Theme.accent
        }
    }

    contentItem: RowLayout {
        spacing: Theme.spacing
        Glyph {
            Layout.leftMargin: Theme.spacing
            Layout.preferredWidth: 22
            glyph: button.glyph
            color: button.selected ? Theme.accent : Theme.navText
        }
        Text {
            Layout.fillWidth: true
            text: button.text
            onTruncatedChanged: button.nameCut = truncated
            color: button.selected ? "#ffffff" : Theme.navText
            font.pixelSize: Theme.fontBody
            font.weight: button.selected ? Font.DemiBold : Font.Normal
            elide: Text.ElideRight
        }
        Item {
            Layout.preferredWidth: 20
            Layout.preferredHeight: 20
            Layout.rightMargin: Theme.spacingSmall
            // Made only while the module starts: one per entry would cost the first frame.
            Loader {
                anchors.fill: parent
                active: button.loading
                sourceComponent: BusyIndicator {
                    objectName: "navBusyIndicator"
                    running: true
                    padding: 0
                    Accessible.name: qsTr("Starting %1").arg(button.text)
                }
            }
            Rectangle {
                visible: button.running && !button.loading
                anchors.centerIn: parent
                width: 8
                height: 8
                radius: 4
                color: "#3ccf6e"
            }
        }
    }
}
