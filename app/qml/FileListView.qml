import QtQuick
import QtQuick.Controls
import Korvex.Dashboard

// A label file list of one controller, as tiles or rows. The controller's displayed list is
// taken again whenever it is sorted or a favourite changes, and only the rows that differ
// change; entries are addressed by id.
FocusScope {
    id: list

    // A DashboardCommonFileController; My Labels adds folder operations.
    required property var controller
    // My Labels: folders go on top and open when chosen.
    property bool folderMode: false
    // Favorites: the star becomes a remove button.
    property bool favoritesMode: false
    property bool tiles: true
    property int zoom: DashboardGlobal.NORMAL
    property string emptyGlyph: Theme.icons.file
    property string emptyTitle: qsTr("Nothing here yet")
    property string emptyMessage
    property string errorTitle
    property string errorMessage

    property string searchText
    readonly property FileListModel listModel: fileModel
    property bool busy: false
    readonly property int count: fileModel.count
    readonly property Item view: tiles ? grid : rows

    signal openRequested(int id)
    signal folderRequested(string name)
    signal removeRequested(var entry)

    // Takes the displayed list again, keeping the scroll position and the current entry when
    // asked: a keyboard user who stars an entry stays on it.
    function refresh(keepPosition) {
        const flick = list.tiles ? grid : rows
        const y = flick.contentY
        const current = fileModel.get(flick.currentIndex)
        fileModel.refresh()
        if (!keepPosition)
            return
        if (current !== undefined) {
            const index = fileModel.rowOf(current)
            if (index >= 0)
                flick.currentIndex = index
        }
        flick.contentY = Math.min(y, Math.max(0, flick.contentHeight - flick.height))
    }
    // Fills the list from its source again. The busy indicator shows first, as a big folder
    // takes a moment; a quiet reload (a live update) changes the rows in place instead.
    function reload(quiet) {
        if (quiet === true) {
            fileModel.reload()
            return
        }
        list.busy = true
        fillTimer.restart()
    }
    // Fills the list without waiting for the busy indicator to show first: the first frame
    // lists the labels instead. A folder read keeps the list busy until it is in.
    function fill() {
        list.busy = true
        fillTimer.stop()
        fileModel.reload()
    }
    function applySearch(text) {
        list.searchText = text
        list.controller.setSearchString(text)
        list.controller.searchLabelFileList()
    }
    function applySort(sortType) {
        list.controller.setSortType(sortType)
        // A fresh search re-sorts from the full list, so folders are put back on top.
        list.controller.searchLabelFileList()
    }
    function activate(entry) {
        if (entry.type)
            list.folderRequested(entry.labelFileName)
        else
            list.openRequested(entry.id)
    }
    function toggleFavorite(entry) {
        if (list.favoritesMode)
            list.removeRequested(entry)
        else
            list.controller.setFavorite(entry.isFavorite, entry.id)
    }

    FileListModel {
        id: fileModel
        controller: list.controller
        folderMode: list.folderMode
        onReloaded: list.busy = false
    }

    Timer {
        id: fillTimer
        interval: 30
        onTriggered: fileModel.reload()
    }

    Connections {
        target: list.controller
        function onListSorted() { list.refresh(false) }
        function onFavoriteChanged() { list.refresh(true) }
    }

    Component {
        id: tileDelegate
        FileTile {
            width: grid.cellWidth
            height: grid.cellHeight
            zoom: list.zoom
            favoritesMode: list.favoritesMode
            current: GridView.isCurrentItem
            viewFocused: grid.activeFocus && FocusFrames.shown
            onActivated: list.activate(entry)
            onFavoriteToggled: list.toggleFavorite(entry)
        }
    }
    Component {
        id: rowDelegate
        FileRow {
            width: rows.width - 12
            height: list.zoom === DashboardGlobal.SMALL ? 34 : (list.zoom === DashboardGlobal.LARGE ? 60 : 44)
            zoom: list.zoom
            favoritesMode: list.favoritesMode
            current: ListView.isCurrentItem
            viewFocused: rows.activeFocus && FocusFrames.shown
            onActivated: list.activate(entry)
            onFavoriteToggled: list.toggleFavorite(entry)
        }
    }

    GridView {
        id: grid
        objectName: "fileGrid"
        anchors.fill: parent
        visible: list.tiles
        focus: list.tiles
        clip: true
        // Not reused: with Qt 6.4 and reused delegates, the tiles of removed rows stayed in the
        // view, culled, and screen readers still listed them.
        reuseItems: false
        model: list.tiles ? fileModel : null
        delegate: tileDelegate
        readonly property int tileWidth: list.zoom === DashboardGlobal.SMALL ? 128 : (list.zoom === DashboardGlobal.LARGE ? 216 : 168)
        cellWidth: Math.max(tileWidth, Math.floor((width - 12) / Math.max(1, Math.floor((width - 12) / tileWidth))))
        cellHeight: Math.round(tileWidth * 0.95)
        keyNavigationEnabled: true
        activeFocusOnTab: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {
            policy: ScrollBar.AsNeeded
            Accessible.name: qsTr("Scroll the labels")
        }
        Keys.onReturnPressed: if (currentIndex >= 0) list.activate(fileModel.get(currentIndex))
        Keys.onEnterPressed: if (currentIndex >= 0) list.activate(fileModel.get(currentIndex))
        Keys.onSpacePressed: if (currentIndex >= 0 && !fileModel.get(currentIndex).type) list.toggleFavorite(fileModel.get(currentIndex))
        Keys.onDeletePressed: if (list.favoritesMode && currentIndex >= 0) list.removeRequested(fileModel.get(currentIndex))
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Labels")
    }

    ListView {
        id: rows
        objectName: "fileRows"
        anchors.fill: parent
        visible: !list.tiles
        focus: !list.tiles
        clip: true
        reuseItems: false // as the grid
        spacing: 0
        model: list.tiles ? null : fileModel
        delegate: rowDelegate
        keyNavigationEnabled: true
        activeFocusOnTab: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {
            policy: ScrollBar.AsNeeded
            Accessible.name: qsTr("Scroll the labels")
        }
        Keys.onReturnPressed: if (currentIndex >= 0) list.activate(fileModel.get(currentIndex))
        Keys.onEnterPressed: if (currentIndex >= 0) list.activate(fileModel.get(currentIndex))
        Keys.onSpacePressed: if (currentIndex >= 0 && !fileModel.get(currentIndex).type) list.toggleFavorite(fileModel.get(currentIndex))
        Keys.onDeletePressed: if (list.favoritesMode && currentIndex >= 0) list.removeRequested(fileModel.get(currentIndex))
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Labels")
    }

    // With no current entry to mark (an empty list), the frame shows where focus is.
    Rectangle {
        objectName: "listFocusFrame"
        anchors.fill: parent
        visible: list.view.activeFocus && FocusFrames.shown && (list.tiles ? grid.currentIndex : rows.currentIndex) < 0
        color: "transparent"
        radius: Theme.radius
        border.width: 2
        border.color: Theme.focus
    }

    // Both are made only while they show: three lists of each would cost the first frame.
    Loader {
        anchors.centerIn: parent
        width: Math.min(parent.width - 48, 520)
        active: !list.busy && list.count === 0
        sourceComponent: EmptyState {
            objectName: "emptyState"
            error: list.errorTitle.length > 0
            glyph: error ? Theme.icons.about : list.emptyGlyph
            title: error ? list.errorTitle : list.emptyTitle
            message: error ? list.errorMessage : list.emptyMessage
        }
    }

    Loader {
        anchors.centerIn: parent
        // A hidden list waiting to be filled spins nothing.
        active: list.busy && list.visible
        sourceComponent: BusyIndicator {
            objectName: "listBusyIndicator"
            running: true
            Accessible.name: qsTr("Loading labels")
        }
    }
}
