import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Korvex.Dashboard

// Resources: supplies, product and printer guides and videos, each opening its address.
FocusScope {
    id: page

    required property var resources

    signal bannerOpened(int bannerType)
    // An address or folder to hand to the desktop; the window says so when nothing opens it.
    signal openRequested(url address)

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        spacing: Theme.spacing

        PageHeader {
            Layout.fillWidth: true
            title: qsTr("Resources")
            subtitle: qsTr("Supplies, guides and downloads for your printers, and how-to videos.")
        }
        Banner {
            objectName: "resourcesPageBanner"
            Layout.fillWidth: true
            glyph: Theme.icons.premadeSigns
            title: qsTr("Premade safety signs")
            text: qsTr("Hundreds of compliant signs, ready to print on your supplies.")
            action: qsTr("Browse signs")
            onTriggered: page.bannerOpened(DashboardMain.PREMADE_SIGNS)
        }
        GridView {
            id: grid
            objectName: "resourceGrid"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            focus: true
            activeFocusOnTab: true
            keyNavigationEnabled: true
            model: page.resources
            readonly property int columns: Math.max(1, Math.floor(width / 230))
            cellWidth: Math.floor(width / columns)
            cellHeight: 230
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {
                Accessible.name: qsTr("Scroll the resources")
            }
            Accessible.role: Accessible.List
            Accessible.name: qsTr("Resources")
            Keys.onReturnPressed: if (currentIndex >= 0) page.openRequested(page.resources[currentIndex].resUrl)
            Keys.onEnterPressed: if (currentIndex >= 0) page.openRequested(page.resources[currentIndex].resUrl)

            delegate: Item {
                id: tile
                required property var modelData
                required property int index
                width: grid.cellWidth
                height: grid.cellHeight
                Accessible.role: Accessible.Link
                Accessible.name: modelData.resSubtitle.length > 0 ? modelData.resName + ", " + modelData.resSubtitle : modelData.resName
                // A link lists its press action already; a handler would list it twice.
                function accessiblePressAction() {
                    grid.currentIndex = tile.index
                    page.openRequested(tile.modelData.resUrl)
                }

                Rectangle {
                    anchors.fill: parent
                    anchors.margins: Theme.spacingSmall
                    radius: Theme.radius + 2
                    color: mouse.containsMouse ? Theme.surfaceHover : Theme.surface
                    border.width: tile.GridView.isCurrentItem && grid.activeFocus && FocusFrames.shown ? 2 : 1
                    border.color: tile.GridView.isCurrentItem && grid.activeFocus && FocusFrames.shown ? Theme.focus : Theme.border

                    ColumnLayout {
                        anchors.fill: parent
                        anchors.margins: Theme.spacing
                        spacing: 4
                        Image {
                            Layout.fillWidth: true
                            Layout.fillHeight: true
                            source: tile.modelData.resImage
                            sourceSize.height: 120
                            fillMode: Image.PreserveAspectFit
                            asynchronous: true
                            Accessible.ignored: true
                        }
                        Text {
                            Layout.fillWidth: true
                            text: tile.modelData.resName
                            color: Theme.text
                            font.pixelSize: Theme.fontSubtitle
                            font.weight: Font.DemiBold
                            horizontalAlignment: Text.AlignHCenter
                            elide: Text.ElideRight
                        }
                        Text {
                            Layout.fillWidth: true
                            text: tile.modelData.resSubtitle.length > 0 ? tile.modelData.resSubtitle : " "
                            color: Theme.textMuted
                            font.pixelSize: Theme.fontSmall
                            horizontalAlignment: Text.AlignHCenter
                            elide: Text.ElideRight
                        }
                    }
                    Glyph {
                        anchors.top: parent.top
                        anchors.right: parent.right
                        anchors.margins: Theme.spacing
                        glyph: Theme.icons.externalLink
                        color: Theme.textMuted
                        size: 12
                    }
                    MouseArea {
                        id: mouse
                        anchors.fill: parent
                        hoverEnabled: true
                        cursorShape: Qt.PointingHandCursor
                        onClicked: {
                            grid.currentIndex = tile.index
                            page.openRequested(tile.modelData.resUrl)
                        }
                    }
                }
            }
        }
    }
}
