import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Korvex.Dashboard

// A label file or folder as a tile: a preview card, its name and when it was last viewed.
Item {
    id: tile

    required property var entry
    required property int index
    property int zoom: DashboardGlobal.NORMAL
    property bool favoritesMode: false
    property bool current: false
    property bool viewFocused: false

    signal activated()
    signal favoriteToggled()

    readonly property bool isFolder: entry.type
    readonly property string suffix: {
        const name = entry.labelFileName
        const dot = name.lastIndexOf(".")
        return dot >= 0 ? name.substring(dot + 1).toUpperCase() : ""
    }
    readonly property bool pipeFile: /^(KXAW|KXAM|KXPM)$/.test(suffix)

    Accessible.role: Accessible.ListItem
    Accessible.selectable: true
    Accessible.selected: tile.current
    Accessible.name: isFolder ? qsTr("Folder %1").arg(entry.labelFileName)
                              : qsTr("%1, viewed %2").arg(entry.labelFileName).arg(entry.timeSinceModified)
    Accessible.onPressAction: tile.activated()
    Accessible.onToggleAction: if (!tile.isFolder) tile.favoriteToggled()

    Rectangle {
        id: card
        anchors.fill: parent
        anchors.margins: Theme.spacingSmall
        radius: Theme.radius + 2
        color: mouse.containsMouse ? Theme.surfaceHover : Theme.surface
        border.width: tile.current && tile.viewFocused ? 2 : 1
        border.color: tile.current && tile.viewFocused ? Theme.focus : Theme.border

        ColumnLayout {
            anchors.fill: parent
            anchors.margins: Theme.spacingSmall + 2
            spacing: 4

            Rectangle {
                Layout.fillWidth: true
                Layout.fillHeight: true
                radius: Theme.radius
                color: tile.isFolder ? Theme.surfaceAlt : (tile.pipeFile ? "#1f6fb2" : Theme.accent)
                opacity: tile.isFolder ? 1 : 0.92
                Glyph {
                    anchors.centerIn: parent
                    glyph: tile.isFolder ? Theme.icons.folder : (tile.pipeFile ? Theme.icons.pipeMarking : Theme.icons.labelDesigner)
                    size: Math.min(parent.height * 0.42, 48)
                    color: tile.isFolder ? Theme.textMuted : "#ffffff"
                }
                Text {
                    visible: !tile.isFolder && tile.suffix.length > 0 && parent.height > 40
                    anchors.left: parent.left
                    anchors.bottom: parent.bottom
                    anchors.margins: 6
                    text: tile.suffix
                    color: "#ffffff"
                    font.pixelSize: Theme.fontSmall - 1
                    font.weight: Font.Bold
                    font.letterSpacing: 0.8
                }
            }
            Text {
                id: nameText
                objectName: "tileName"
                Layout.fillWidth: true
                text: tile.entry.labelFileName
                color: Theme.text
                font.pixelSize: tile.zoom === DashboardGlobal.SMALL ? Theme.fontSmall : Theme.fontBody
                font.weight: Font.Medium
                elide: Text.ElideMiddle
                maximumLineCount: 1
                // A name cut in the middle shows whole while the pointer rests on its tile, or while
                // the tile is the current entry of a list the keyboard works.
                ToolTip.visible: nameText.truncated && (mouse.containsMouse || (tile.current && tile.viewFocused))
                ToolTip.text: tile.entry.labelFileName
                ToolTip.delay: Theme.toolTipDelay
            }
            Text {
                Layout.fillWidth: true
                text: tile.isFolder ? qsTr("Folder") : tile.entry.timeSinceModified
                color: Theme.textMuted
                font.pixelSize: Theme.fontSmall
                elide: Text.ElideRight
            }
        }

        MouseArea {
            id: mouse
            anchors.fill: parent
            hoverEnabled: true
            cursorShape: Qt.PointingHandCursor
            onClicked: tile.activated()
        }

        ToolButtonX {
            id: favoriteButton
            objectName: "favoriteButton"
            visible: !tile.isFolder
            anchors.top: parent.top
            anchors.right: parent.right
            anchors.margins: Theme.spacingSmall + 4
            implicitHeight: 28
            focusPolicy: Qt.NoFocus
            glyph: tile.favoritesMode ? Theme.icons.close
                                      : (tile.entry.isFavorite ? Theme.icons.favorite : Theme.icons.favoriteOutline)
            foreground: tile.favoritesMode ? "#ffffff" : (tile.entry.isFavorite ? Theme.favorite : "#ffffff")
            Accessible.name: tile.favoritesMode ? qsTr("Remove %1 from favorites").arg(tile.entry.labelFileName)
                                                : (tile.entry.isFavorite ? qsTr("Remove %1 from favorites").arg(tile.entry.labelFileName)
                                                                             : qsTr("Add %1 to favorites").arg(tile.entry.labelFileName))
            background: Rectangle {
                radius: 14
                color: Qt.rgba(0, 0, 0, 0.28)
            }
            onClicked: tile.favoriteToggled()
        }
    }
}
