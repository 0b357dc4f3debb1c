import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Korvex.Dashboard

// Cloud: the favourites kept in the user's cloud folders, by service.
FocusScope {
    id: page

    required property FavoritesController favorites

    // A DashboardGlobal.LabelLocation of a cloud service.
    property int service: DashboardGlobal.LABEL_DROPBOX
    readonly property FileListModel listModel: cloudModel
    readonly property var services: [
        { location: DashboardGlobal.LABEL_DROPBOX, name: "Dropbox" },
        { location: DashboardGlobal.LABEL_GOOGLEDRIVE, name: "Google Drive" },
        { location: DashboardGlobal.LABEL_ONEDRIVE, name: "OneDrive" }
    ]

    signal openLabel(DashboardCommonFileController controller, int id)
    signal favoriteRemoved()

    function remove(entry) {
        page.favorites.removeFavorite(true, entry.filePath + "/" + entry.labelFileName, entry.cloudEnum)
        page.favoriteRemoved()
    }
    // The favourites of the chosen service.
    FileListModel {
        id: cloudModel
        controller: page.favorites
        location: page.service
    }
    Component.onCompleted: cloudModel.refresh()

    Connections {
        target: page.favorites
        function onListSorted() { cloudModel.refresh() }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        spacing: Theme.spacing

        PageHeader {
            Layout.fillWidth: true
            title: qsTr("Cloud")
            subtitle: qsTr("Favorite labels kept in your cloud storage.")
        }
        RowLayout {
            spacing: Theme.spacingSmall
            Accessible.role: Accessible.PageTabList
            Accessible.name: qsTr("Cloud services")
            Repeater {
                model: page.services
                delegate: TabButtonX {
                    required property var modelData
                    objectName: "cloud_" + modelData.location
                    text: modelData.name
                    glyph: Theme.icons.cloud
                    toggledOn: page.service === modelData.location
                    onClicked: page.service = modelData.location
                }
            }
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.fillHeight: true
            radius: Theme.radius + 2
            color: Theme.surface
            // With no current entry to mark (an empty list), the frame shows where focus is.
            border.width: view.activeFocus && FocusFrames.shown && view.currentIndex < 0 ? 2 : 1
            border.color: view.activeFocus && FocusFrames.shown && view.currentIndex < 0 ? Theme.focus : Theme.border

            ListView {
                id: view
                objectName: "cloudList"
                anchors.fill: parent
                anchors.margins: 6
                clip: true
                focus: true
                activeFocusOnTab: true
                keyNavigationEnabled: true
                model: cloudModel
                Accessible.role: Accessible.List
                Accessible.name: qsTr("Cloud labels")
                delegate: FileRow {
                    width: view.width - 12
                    height: 44
                    favoritesMode: true
                    current: ListView.isCurrentItem
                    viewFocused: view.activeFocus && FocusFrames.shown
                    onActivated: page.openLabel(page.favorites, entry.id)
                    onFavoriteToggled: page.remove(entry)
                }
                Keys.onReturnPressed: if (currentIndex >= 0) page.openLabel(page.favorites, cloudModel.get(currentIndex).id)
                Keys.onSpacePressed: if (currentIndex >= 0) page.remove(cloudModel.get(currentIndex))
                Keys.onDeletePressed: if (currentIndex >= 0) page.remove(cloudModel.get(currentIndex))
            }
            EmptyState {
                anchors.centerIn: parent
                width: Math.min(parent.width - 48, 520)
                visible: cloudModel.count === 0
                glyph: Theme.icons.cloud
                title: qsTr("No cloud labels from this service")
                message: qsTr("Labels you mark as favorites in a cloud folder of the modules are listed here.")
            }
        }
    }
}
