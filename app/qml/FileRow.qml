import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Korvex.Dashboard

// A label file or folder as a row: icon, name, folder and when it was last viewed.
Item {
    id: row

    required property var entry
    required property int index
    property int zoom: DashboardGlobal.NORMAL
    property bool favoritesMode: false
    property bool current: false
    property bool viewFocused: false

    signal activated()
    signal favoriteToggled()

    readonly property bool isFolder: entry.type

    Accessible.role: Accessible.ListItem
    Accessible.selectable: true
    Accessible.selected: row.current
    Accessible.name: isFolder ? qsTr("Folder %1").arg(entry.labelFileName)
                              : qsTr("%1, viewed %2").arg(entry.labelFileName).arg(entry.timeSinceModified)
    Accessible.onPressAction: row.activated()
    Accessible.onToggleAction: if (!row.isFolder) row.favoriteToggled()

    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: 2
        anchors.rightMargin: 2
        anchors.topMargin: 1
        anchors.bottomMargin: 1
        radius: Theme.radius
        color: mouse.containsMouse ? Theme.surfaceHover : (row.index % 2 ? Theme.surface : Theme.window)
        border.width: row.current && row.viewFocused ? 2 : 0
        border.color: Theme.focus

        MouseArea {
            id: mouse
            anchors.fill: parent
            hoverEnabled: true
            cursorShape: Qt.PointingHandCursor
            onClicked: row.activated()
        }

        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: Theme.spacing
            anchors.rightMargin: Theme.spacingSmall
            spacing: Theme.spacing

            Glyph {
                Layout.preferredWidth: 24
                glyph: row.isFolder ? Theme.icons.folder : Theme.icons.file
                size: row.zoom === DashboardGlobal.LARGE ? 22 : 16
                color: row.isFolder ? Theme.favorite : Theme.textMuted
            }
            Text {
                id: nameText
                objectName: "rowName"
                Layout.fillWidth: true
                Layout.preferredWidth: 3
                text: row.entry.labelFileName
                color: Theme.text
                font.pixelSize: row.zoom === DashboardGlobal.SMALL ? Theme.fontSmall : Theme.fontBody
                font.weight: Font.Medium
                elide: Text.ElideMiddle
                // A name cut in the middle shows whole while the pointer rests on its row, or while
                // the row is the current entry of a list the keyboard works.
                ToolTip.visible: nameText.truncated && (mouse.containsMouse || (row.current && row.viewFocused))
                ToolTip.text: row.entry.labelFileName
                ToolTip.delay: Theme.toolTipDelay
            }
            Text {
                Layout.fillWidth: true
                Layout.preferredWidth: 3
                visible: row.zoom !== DashboardGlobal.SMALL && row.width > 560
                text: row.entry.filePath
                color: Theme.textMuted
                font.pixelSize: Theme.fontSmall
                elide: Text.ElideLeft
            }
            Text {
                Layout.preferredWidth: 120
                text: row.isFolder ? qsTr("Folder") : row.entry.timeSinceModified
                color: Theme.textMuted
                font.pixelSize: Theme.fontSmall
                elide: Text.ElideRight
            }
            ToolButtonX {
                id: favoriteButton
                objectName: "favoriteButton"
                Layout.preferredWidth: 32
                implicitHeight: 28
                opacity: row.isFolder ? 0 : 1
                enabled: !row.isFolder
                focusPolicy: Qt.NoFocus
                glyph: row.favoritesMode ? Theme.icons.close
                                         : (row.entry.isFavorite ? Theme.icons.favorite : Theme.icons.favoriteOutline)
                foreground: row.favoritesMode ? Theme.textMuted : (row.entry.isFavorite ? Theme.favorite : Theme.textMuted)
                Accessible.name: row.favoritesMode ? qsTr("Remove %1 from favorites").arg(row.entry.labelFileName)
                                                   : (row.entry.isFavorite ? qsTr("Remove %1 from favorites").arg(row.entry.labelFileName)
                                                                               : qsTr("Add %1 to favorites").arg(row.entry.labelFileName))
                background: Rectangle {
                    radius: Theme.radius
                    color: favoriteButton.hovered ? Theme.surfaceAlt : "transparent"
                }
                onClicked: row.favoriteToggled()
            }
        }
    }
}
