import QtQuick
import QtQuick.Layouts
import Korvex.Dashboard

// An entry of the navigation bar that opens an address outside the dashboard: drawn as a
// NavButton, read by a screen reader as a link (a control of Qt Quick Controls 6.4 cannot
// take that role).
Item {
    id: link

    property string text
    property string glyph
    readonly property bool hovered: mouse.containsMouse

    signal clicked()

    implicitHeight: 40
    activeFocusOnTab: true
    Accessible.role: Accessible.Link
    Accessible.name: link.text
    Accessible.focusable: true
    // A screen reader's press is a click. Found by name, so that "Press" is listed once: the
    // link's role lists it already.
    function accessiblePressAction() {
        link.clicked()
    }
    Keys.onReturnPressed: link.clicked()
    Keys.onEnterPressed: link.clicked()
    Keys.onSpacePressed: link.clicked()

    Rectangle {
        anchors.fill: parent
        color: link.hovered ? Theme.navHover : "transparent"
        radius: Theme.radius
        border.width: link.activeFocus && FocusFrames.shown ? 2 : 0
        border.color: Theme.focus
    }

    RowLayout {
        anchors.fill: parent
        spacing: Theme.spacing
        Glyph {
            Layout.leftMargin: Theme.spacing
            Layout.preferredWidth: 22
            glyph: link.glyph
            color: Theme.navText
        }
        Text {
            Layout.fillWidth: true
            Layout.rightMargin: 20 + Theme.spacingSmall
            text: link.text
            color: Theme.navText
            font.pixelSize: Theme.fontBody
            elide: Text.ElideRight
            Accessible.ignored: true
        }
    }

    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: link.clicked()
    }
}
