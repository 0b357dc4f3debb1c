import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Korvex.Dashboard

// Home: the recently viewed labels, the label folder and the favourites, with one tool row
// for search, sort, zoom and tiles or rows.
FocusScope {
    id: page

    required property RecentlyViewedController recents
    required property MyLabelsController myLabels
    required property FavoritesController favorites
    required property HostServices host

    // 0 recently viewed, 1 My Labels, 2 favourites.
    property int tab: 0
    property bool tiles: true
    property int zoom: DashboardGlobal.NORMAL
    readonly property FileListView currentList: tab === 0 ? recentList : (tab === 1 ? labelList : favoriteList)
    readonly property string currentFolder: folderState.current
    readonly property alias searchField: searchField
    readonly property alias sortBox: sortBox
    readonly property alias recentList: recentList
    readonly property alias labelList: labelList
    readonly property alias favoriteList: favoriteList
    // The lists fillShown() left for fillHidden().
    property var unfilledLists: []

    signal openLabel(DashboardCommonFileController controller, int id)
    signal bannerOpened(int bannerType)
    // An address or folder to hand to the desktop; the window says so when nothing opens it.
    signal openRequested(url address)
    signal favoriteRemoved()

    function showTab(index) {
        page.tab = index
        // Each list keeps its own search and sort; the tool row shows the current one's.
        searchField.text = page.currentList.controller.getSearchString()
        sortBox.currentIndex = sortBox.indexOfValue(page.currentList.controller.getSortType())
        page.currentList.forceActiveFocus()
    }
    function enterFolder(name) {
        page.myLabels.enterFolder(name)
        folderState.update()
    }
    function leaveFolder() {
        if (folderState.depth === 0)
            return
        page.myLabels.exitFolder(page.myLabels.getCurrentFolder())
        folderState.update()
    }
    function leaveTo(depth) {
        while (folderState.depth > depth) {
            const before = folderState.depth
            leaveFolder()
            if (folderState.depth >= before)
                break
        }
    }
    function reloadAll() {
        recentList.reload()
        labelList.reload()
        favoriteList.reload()
        folderState.update()
    }
    // At start the shown list is filled at once, so that the first frame lists its labels;
    // the others wait, busy, for fillHidden() once that frame is out.
    function fillShown() {
        folderState.update()
        const waiting = []
        for (const list of [recentList, labelList, favoriteList]) {
            if (list === page.currentList) {
                list.fill()
            } else {
                list.busy = true
                waiting.push(list)
            }
        }
        page.unfilledLists = waiting
    }
    function fillHidden() {
        const waiting = page.unfilledLists
        page.unfilledLists = []
        for (const list of waiting)
            list.fill()
    }

    QtObject {
        id: folderState
        property string current: page.myLabels.getCurrentFolder()
        readonly property string root: page.host.labelFolder
        readonly property var parts: current.length > root.length ? current.substring(root.length + 1).split("/") : []
        readonly property int depth: parts.length
        readonly property var crumbs: {
            const all = [qsTr("My Labels")]
            for (let i = 0; i < parts.length; ++i)
                all.push(parts[i])
            return all
        }
        function update() { current = page.myLabels.getCurrentFolder() }
    }

    Timer {
        id: searchTimer
        objectName: "searchTimer"
        interval: 180
        onTriggered: page.currentList.applySearch(searchField.text)
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.pageMargin
        spacing: Theme.spacing

        PageHeader {
            Layout.fillWidth: true
            title: qsTr("Home")
            subtitle: qsTr("Open a recent label, browse your label folder or start a module.")
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacing
            Banner {
                objectName: "premadeBanner"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                glyph: Theme.icons.premadeSigns
                title: qsTr("Premade safety signs")
                text: qsTr("Start from a ready-made sign and adapt it to your site.")
                action: qsTr("Browse signs")
                onTriggered: page.bannerOpened(DashboardMain.PREMADE_SIGNS)
            }
            Banner {
                objectName: "resourcesBanner"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                // On a narrow window one banner is enough.
                visible: page.width > 900
                glyph: Theme.icons.resources
                title: qsTr("Guides and videos")
                text: qsTr("Printer guides, supplies and how-to videos in one place.")
                action: qsTr("See resources")
                onTriggered: page.bannerOpened(DashboardMain.RESOURCES)
            }
        }

        // Tabs and tools.
        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingSmall

            RowLayout {
                spacing: Theme.spacingSmall
                Accessible.role: Accessible.PageTabList
                Accessible.name: qsTr("Label lists")
                Repeater {
                    model: [qsTr("Recently viewed"), qsTr("My Labels"), qsTr("Favorites")]
                    delegate: TabButtonX {
                        required property string modelData
                        required property int index
                        objectName: "tab_" + index
                        text: modelData
                        toggledOn: page.tab === index
                        onClicked: page.showTab(index)
                    }
                }
            }
            Item { Layout.fillWidth: true }

            Row {
                spacing: 2
                Accessible.role: Accessible.Grouping
                Accessible.name: qsTr("Tile size")
                Repeater {
                    model: [
                        { zoom: DashboardGlobal.SMALL, text: "S", name: qsTr("Small tiles") },
                        { zoom: DashboardGlobal.NORMAL, text: "M", name: qsTr("Medium tiles") },
                        { zoom: DashboardGlobal.LARGE, text: "L", name: qsTr("Large tiles") }
                    ]
                    delegate: RadioButtonX {
                        required property var modelData
                        objectName: "zoom_" + modelData.zoom
                        text: modelData.text
                        toggledOn: page.zoom === modelData.zoom
                        Accessible.name: modelData.name
                        onClicked: page.zoom = modelData.zoom
                    }
                }
            }
            RowLayout {
                spacing: Theme.spacingSmall
                Accessible.role: Accessible.Grouping
                Accessible.name: qsTr("View")
                RadioButtonX {
                    objectName: "tilesButton"
                    glyph: Theme.icons.gridView
                    toggledOn: page.tiles
                    Accessible.name: qsTr("Show as tiles")
                    onClicked: page.tiles = true
                }
                RadioButtonX {
                    objectName: "rowsButton"
                    glyph: Theme.icons.listView
                    toggledOn: !page.tiles
                    Accessible.name: qsTr("Show as rows")
                    onClicked: page.tiles = false
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingSmall

            TextField {
                id: searchField
                objectName: "searchField"
                Layout.fillWidth: true
                Layout.maximumWidth: 420
                placeholderText: qsTr("Search labels")
                selectByMouse: true
                color: Theme.text
                placeholderTextColor: Theme.textMuted
                leftPadding: 30
                Accessible.name: qsTr("Search labels")
                Accessible.searchEdit: true
                // Spoken when it changes while the field has focus: what the search left.
                Accessible.description: page.currentList.searchText.length === 0 || page.currentList.busy ? ""
                                        : (page.currentList.count === 1 ? qsTr("1 label")
                                                                        : qsTr("%1 labels").arg(page.currentList.count))
                background: Rectangle {
                    radius: Theme.radius
                    color: Theme.surface
                    border.width: searchField.activeFocus ? 2 : 1
                    border.color: searchField.activeFocus ? Theme.focus : Theme.border
                    Glyph {
                        anchors.left: parent.left
                        anchors.leftMargin: 9
                        anchors.verticalCenter: parent.verticalCenter
                        glyph: Theme.icons.search
                        color: Theme.textMuted
                        size: 14
                    }
                }
                // Typed, or written through a screen reader: searched once it rests. Showing
                // another list's search puts its own text here, which needs no search.
                onTextChanged: {
                    if (searchField.text !== page.currentList.searchText)
                        searchTimer.restart()
                }
                Keys.onEscapePressed: {
                    searchField.clear()
                    searchTimer.stop()
                    page.currentList.applySearch("")
                }
            }

            ComboBoxX {
                id: sortBox
                objectName: "sortBox"
                Layout.preferredWidth: 200
                textRole: "text"
                valueRole: "value"
                // The option under the arrows is part of the name, so that moving through the
                // list is spoken as it goes.
                Accessible.name: qsTr("Sort by: %1").arg(displayText)
                model: [
                    { value: DashboardGlobal.LAST_VIEWED_ASCENDING, text: qsTr("Recently viewed first") },
                    { value: DashboardGlobal.LAST_VIEWED_DESCENDING, text: qsTr("Recently viewed last") },
                    { value: DashboardGlobal.A_TO_Z, text: qsTr("Name A to Z") },
                    { value: DashboardGlobal.Z_TO_A, text: qsTr("Name Z to A") },
                    { value: DashboardGlobal.NEWEST, text: qsTr("Newest first") },
                    { value: DashboardGlobal.OLDEST, text: qsTr("Oldest first") }
                ]
                Component.onCompleted: currentIndex = indexOfValue(DashboardGlobal.A_TO_Z)
                onActivated: page.currentList.applySort(currentValue)
            }

            Item { Layout.fillWidth: true }
        }

        // Where in the label folder we are.
        RowLayout {
            Layout.fillWidth: true
            visible: page.tab === 1
            spacing: Theme.spacingSmall

            ToolButtonX {
                objectName: "upButton"
                glyph: Theme.icons.back
                enabled: folderState.depth > 0
                opacity: enabled ? 1 : 0.4
                Accessible.name: qsTr("Up one folder")
                onClicked: page.leaveFolder()
            }
            Flow {
                Layout.fillWidth: true
                spacing: 2
                Repeater {
                    model: folderState.crumbs
                    delegate: Row {
                        required property string modelData
                        required property int index
                        spacing: 2
                        Text {
                            visible: index > 0
                            text: "›"
                            color: Theme.textMuted
                            font.pixelSize: Theme.fontSubtitle
                            anchors.verticalCenter: parent.verticalCenter
                        }
                        ToolButtonX {
                            id: crumb
                            objectName: "crumb_" + index
                            text: modelData
                            implicitHeight: 28
                            background: Rectangle {
                                radius: Theme.radius
                                color: crumb.hovered ? Theme.surfaceHover : "transparent"
                                border.width: crumb.activeFocus && FocusFrames.shown ? 2 : 0
                                border.color: Theme.focus
                            }
                            Accessible.name: qsTr("Go to %1").arg(modelData)
                            onClicked: page.leaveTo(index)
                        }
                    }
                }
            }
            ToolButtonX {
                objectName: "openFolderButton"
                glyph: Theme.icons.folderOpen
                text: qsTr("Open in file browser")
                Accessible.name: qsTr("Open the folder in the file browser")
                onClicked: page.openRequested(page.host.folderUrl(page.myLabels.getCurrentFolder()))
            }
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.fillHeight: true
            radius: Theme.radius + 2
            color: Theme.surface
            border.color: Theme.border

            FileListView {
                id: recentList
                objectName: "recentList"
                anchors.fill: parent
                anchors.margins: 6
                visible: page.tab === 0
                focus: page.tab === 0
                controller: page.recents
                tiles: page.tiles
                zoom: page.zoom
                emptyGlyph: Theme.icons.recent
                emptyTitle: recentList.searchText.length > 0 ? qsTr("No recently viewed label matches your search")
                                                                        : qsTr("No recently viewed labels")
                emptyMessage: qsTr("Labels you open in a module are listed here.")
                onOpenRequested: (id) => page.openLabel(page.recents, id)
            }
            FileListView {
                id: labelList
                objectName: "labelList"
                anchors.fill: parent
                anchors.margins: 6
                visible: page.tab === 1
                focus: page.tab === 1
                controller: page.myLabels
                folderMode: true
                tiles: page.tiles
                zoom: page.zoom
                emptyGlyph: Theme.icons.folder
                emptyTitle: labelList.searchText.length > 0 ? qsTr("No label in this folder matches your search")
                                                                         : qsTr("This folder has no labels yet")
                emptyMessage: qsTr("Labels saved to %1 are listed here.").arg(folderState.current)
                errorTitle: page.host.folderExists(folderState.root) ? "" : qsTr("The label folder cannot be found")
                errorMessage: qsTr("%1 does not exist or cannot be read. Labels are listed again once it is back.").arg(folderState.root)
                onOpenRequested: (id) => page.openLabel(page.myLabels, id)
                onFolderRequested: (name) => page.enterFolder(name)
                Keys.onBackPressed: page.leaveFolder()
                Keys.onPressed: (event) => {
                    if (event.key === Qt.Key_Backspace || (event.key === Qt.Key_Left && (event.modifiers & Qt.AltModifier))) {
                        page.leaveFolder()
                        event.accepted = true
                    }
                }
            }
            FileListView {
                id: favoriteList
                objectName: "favoriteList"
                anchors.fill: parent
                anchors.margins: 6
                visible: page.tab === 2
                focus: page.tab === 2
                controller: page.favorites
                favoritesMode: true
                tiles: page.tiles
                zoom: page.zoom
                emptyGlyph: Theme.icons.favoriteOutline
                emptyTitle: qsTr("No favorites yet")
                emptyMessage: qsTr("Mark a label with the star to keep it here.")
                onOpenRequested: (id) => page.openLabel(page.favorites, id)
                onRemoveRequested: (entry) => {
                    page.favorites.removeFavorite(true, entry.filePath + "/" + entry.labelFileName, entry.cloudEnum)
                    page.favoriteRemoved()
                }
            }
        }
    }
}
