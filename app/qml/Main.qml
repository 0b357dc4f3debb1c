import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Korvex.Dashboard

// The dashboard's front end, placed in the content item of the host's DashboardMainWindow.
// It creates the dashboard's controllers and models and binds to them.
Item {
    id: root

    required property DashboardMainWindow mainWindow
    required property HostServices host

    // A DashboardPage.Page.
    property int page: DashboardPage.Home
    readonly property int moduleBarHeight: 44
    readonly property DashboardMain dashMain: DashboardMain {}
    readonly property alias navigationBar: navBar
    readonly property alias homePage: homePage
    // Pages other than Home are made the first time they are shown, so the first frame does
    // not wait for them.
    readonly property CloudPage cloudPage: cloudLoader.item as CloudPage
    readonly property ResourcesPage resourcesPage: resourcesLoader.item as ResourcesPage
    readonly property SettingsPage settingsPage: settingsLoader.item as SettingsPage
    // Made the first time it is opened.
    property AboutDialog aboutDialog: null
    // Made once the first frame is out (the host calls makeDeferredParts), or when first opened.
    property OverflowMenu overflowMenu: null
    readonly property alias moduleHost: moduleHost
    readonly property alias recents: recents
    readonly property alias myLabels: myLabels
    readonly property alias favorites: favorites
    readonly property alias settings: settings
    readonly property alias settingsSections: settingsNav
    readonly property alias menuModel: meatballs
    readonly property alias settingsContents: contents
    readonly property alias upgrader: upgrader
    readonly property alias license: license
    property bool updateNoticeDismissed: false
    property bool firmwareNoticeDismissed: false
    // Where modules cannot be embedded, the first module started brings a notice; once.
    property bool ownWindowsNoticeDue: false
    property bool ownWindowsNoticeDismissed: false
    // Settings chosen in the overflow menu gets focus once the menu has given it back.
    property bool focusPageAfterMenu: false
    // The modules still open when quitting has waited for them.
    property var stillOpenModules: root.host.modules ? root.host.modules.stillOpen : []
    // The last address or folder that could not be opened.
    property string openFailure

    anchors.fill: parent
    focus: true

    // Shows a page over any running module. Home opens at the given tab (0 recently viewed,
    // 1 My Labels, 2 favourites), at recently viewed when none is given.
    function showPage(page, tab) {
        moduleHost.showPages()
        root.page = page
        if (page === DashboardPage.Home)
            homePage.showTab(tab === undefined ? 0 : tab)
        root.focusPage()
    }
    // Focus goes with the page shown: a keyboard or screen reader user is not left on a
    // control of the page that went away.
    function focusPage() {
        const shown = pages.children[pages.currentIndex]
        if (shown)
            shown.forceActiveFocus()
    }
    function makeDeferredParts() {
        homePage.fillHidden()
        root.makeOverflowMenu()
    }
    function makeOverflowMenu() {
        if (!root.overflowMenu)
            root.overflowMenu = overflowMenuComponent.createObject(root) as OverflowMenu
    }
    function openOverflowMenu() {
        root.makeOverflowMenu()
        // Over a module too: the module's window stands aside while the menu is open.
        const button = navBar.overflowButton
        root.overflowMenu.popup(button, button.width + 4, button.height - root.overflowMenu.implicitHeight)
    }
    function openAbout() {
        if (!root.aboutDialog)
            root.aboutDialog = aboutComponent.createObject(root) as AboutDialog
        root.aboutDialog.open()
    }
    function activateNavItem(item) {
        switch (item.navType) {
        case DashboardGlobal.NAV_HOME: root.showPage(DashboardPage.Home); break
        case DashboardGlobal.NAV_CLOUD: root.showPage(DashboardPage.Cloud); break
        case DashboardGlobal.NAV_RESOURCES: root.showPage(DashboardPage.Resources); break
        case DashboardGlobal.NAV_URL_SUPPORT: root.openAddress(root.host.supportAddress); break
        case DashboardGlobal.NAV_URL_LIVECHAT: root.openAddress(root.host.liveChatAddress); break
        case DashboardGlobal.NAV_URL_FEEDBACK: root.openAddress(root.host.feedbackAddress); break
        case DashboardGlobal.NAV_APP: moduleHost.activate(item.navAppType, item.navName); break
        }
    }
    // An address or folder the system could not hand to a browser or file manager is said.
    function openAddress(address) {
        if (!Qt.openUrlExternally(address))
            root.openFailure = root.host.readableAddress(address)
    }
    // appType -> the module's name in the side bar, in the user's language.
    function moduleNames() {
        const names = {}
        const items = root.dashMain.dashboardNavItems
        for (let i = 0; i < items.length; ++i) {
            if (items[i].navType === DashboardGlobal.NAV_APP)
                names[items[i].navAppType] = items[i].navName
        }
        return names
    }
    function navName(appType) {
        const items = root.dashMain.dashboardNavItems
        for (let i = 0; i < items.length; ++i) {
            if (items[i].navType === DashboardGlobal.NAV_APP && items[i].navAppType === appType)
                return items[i].navName
        }
        return ""
    }
    function openBanner(bannerType) {
        root.dashMain.sendContentOpenAnalyticHit(bannerType)
        if (bannerType === DashboardMain.PREMADE_SIGNS)
            moduleHost.activate(DashboardGlobal.APP_PREMADESIGNS, root.navName(DashboardGlobal.APP_PREMADESIGNS))
        else if (bannerType === DashboardMain.RESOURCES)
            root.showPage(DashboardPage.Resources)
    }
    function chooseMenu(navType) {
        if (navType === MeatballsNavigationModel.NAV_ABOUT)
            root.openAbout()
        else if (navType === MeatballsNavigationModel.NAV_SETTINGS) {
            root.showPage(DashboardPage.Settings)
            root.focusPageAfterMenu = true
        }
        else if (navType === MeatballsNavigationModel.NAV_QUIT)
            Qt.quit()
    }
    // Texts the library translated when it built its lists are built again.
    function retranslate() {
        root.host.retranslateNavigation(root.dashMain)
        meatballs.populateMeatballsNavItemsList()
        settingsNav.populateSettingsNavItemsList()
        contents.populateLanguagesModelList()
        if (root.settingsPage)
            root.settingsPage.languageNames = contents.getLanguagesModelList()
        homePage.reloadAll()
    }
    function syncFavorites(source) {
        // The other lists show the same stars.
        if (source !== recents)
            homePage.recentList.reload(true)
        if (source !== myLabels)
            homePage.labelList.reload(true)
        if (source !== favorites)
            homePage.favoriteList.reload(true)
    }

    RecentlyViewedController { id: recents }
    MyLabelsController { id: myLabels }
    FavoritesController { id: favorites }
    DashboardSettingsController { id: settings }
    MeatballsNavigationModel { id: meatballs }
    SettingsNavigationModel { id: settingsNav }
    SettingsContentsModels { id: contents }
    DashboardUpgraderHelper { id: upgrader }
    DashboardGetLicenseHelper { id: license }

    Binding {
        target: Theme
        property: "dark"
        value: !settings.settingAppearance
    }

    Connections {
        target: root.host
        function onLanguageCodeChanged() { root.retranslate() }
    }
    // Qt Quick Controls and their popups take their colours from the application palette.
    function applyPalette() {
        root.host.applyPalette({
            window: Theme.surface, windowText: Theme.text, base: Theme.surface,
            alternateBase: Theme.surfaceAlt, text: Theme.text, button: Theme.surfaceAlt,
            buttonText: Theme.text, brightText: Theme.textOnAccent, highlight: Theme.accent,
            highlightedText: Theme.textOnAccent, placeholderText: Theme.textMuted,
            toolTipBase: Theme.surfaceAlt, toolTipText: Theme.text, light: Theme.surfaceHover,
            midlight: Theme.surfaceAlt, mid: Theme.border, dark: Theme.textMuted, shadow: "#000000"
        })
    }
    Connections {
        target: Theme
        function onDarkChanged() { root.applyPalette() }
    }
    Connections {
        target: recents
        function onLaunchLabelInModule(applicationType, filePath) { moduleHost.launch(applicationType, filePath, root.navName(applicationType)) }
        function onFavoriteChanged() { root.syncFavorites(recents) }
    }
    Connections {
        target: myLabels
        function onLaunchLabelInModule(applicationType, filePath) { moduleHost.launch(applicationType, filePath, root.navName(applicationType)) }
        function onFavoriteChanged() { root.syncFavorites(myLabels) }
    }
    Connections {
        target: favorites
        function onLaunchLabelInModule(applicationType, filePath) { moduleHost.launch(applicationType, filePath, root.navName(applicationType)) }
    }

    onPageChanged: {
        if (root.page === DashboardPage.Cloud)
            cloudLoader.active = true
        else if (root.page === DashboardPage.Resources)
            resourcesLoader.active = true
        else if (root.page === DashboardPage.Settings)
            settingsLoader.active = true
    }

    Component.onCompleted: {
        root.applyPalette()
        myLabels.setRootFolder(root.host.labelFolder)
        homePage.fillShown()
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.window
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        NavigationBar {
            id: navBar
            objectName: "navigationBar"
            Layout.fillHeight: true
            Layout.preferredWidth: implicitWidth
            navItems: root.dashMain.dashboardNavItems
            selectedNavType: moduleHost.shownApp !== DashboardGlobal.APP_NULL ? DashboardGlobal.NAV_APP
                             : (root.page === DashboardPage.Cloud ? DashboardGlobal.NAV_CLOUD
                                : (root.page === DashboardPage.Resources ? DashboardGlobal.NAV_RESOURCES
                                   : (root.page === DashboardPage.Settings ? DashboardGlobal.NAV_NULL : DashboardGlobal.NAV_HOME)))
            selectedAppType: moduleHost.shownApp
            selectedFile: moduleHost.shownFile
            loadingApps: moduleHost.loading
            runningApps: moduleHost.running
            instances: root.host.modules
            onActivated: (item) => root.activateNavItem(item)
            onInstanceActivated: (processId) => moduleHost.showInstance(processId)
            overflowOpen: root.overflowMenu !== null && root.overflowMenu.visible
            onOverflowRequested: root.openOverflowMenu()
        }

        ColumnLayout {
            id: contentColumn
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 0

            NoticeBar {
                id: updateNotice
                objectName: "updateNotice"
                shown: upgrader.isUpdateAvailable && !root.updateNoticeDismissed
                glyph: Theme.icons.download
                text: qsTr("Korvex PRO %1 is available. You have %2.").arg(upgrader.availableVersion).arg(upgrader.getCurrentVersion())
                action: qsTr("Update now")
                onTriggered: upgrader.launchKxproUpgrader()
                onDismissed: root.updateNoticeDismissed = true
            }
            NoticeBar {
                id: firmwareNotice
                objectName: "firmwareNotice"
                // Which printers, read again at each check's result.
                readonly property var printers: root.mainWindow.isPrinterUpdateAvailable
                                                ? root.host.printersWithNewerFirmware() : []
                shown: root.mainWindow.isPrinterUpdateAvailable && !root.firmwareNoticeDismissed
                glyph: Theme.icons.printers
                text: printers.length > 0 ? qsTr("New firmware is available for %1.").arg(printers.join(", "))
                                          : qsTr("New firmware is available for a connected printer.")
                action: qsTr("Open printer maintenance")
                onTriggered: {
                    if (printers.length > 0)
                        moduleHost.openPrinterMaintenance(printers[0])
                    else
                        moduleHost.activate(DashboardGlobal.APP_PRINTERMAINTENANCE, root.navName(DashboardGlobal.APP_PRINTERMAINTENANCE))
                }
                onDismissed: root.firmwareNoticeDismissed = true
            }
            NoticeBar {
                id: stoppedNotice
                objectName: "stoppedNotice"
                shown: moduleHost.stopped !== null
                error: true
                text: moduleHost.stopped ? qsTr("%1 stopped unexpectedly.").arg(moduleHost.stopped.name) : ""
                action: qsTr("Start again")
                onTriggered: {
                    const stopped = moduleHost.stopped
                    moduleHost.stopped = null
                    moduleHost.launch(stopped.appType, stopped.filePath, stopped.name)
                }
                onDismissed: moduleHost.stopped = null
            }
            NoticeBar {
                id: openFailureNotice
                objectName: "openFailureNotice"
                shown: root.openFailure.length > 0
                error: true
                text: qsTr("%1 could not be opened: no program on this computer opens it.").arg(root.openFailure)
                onDismissed: root.openFailure = ""
            }
            NoticeBar {
                id: ownWindowsNotice
                objectName: "ownWindowsNotice"
                shown: root.ownWindowsNoticeDue && !root.ownWindowsNoticeDismissed
                text: qsTr("Modules open in their own windows on this desktop.")
                onDismissed: root.ownWindowsNoticeDismissed = true
                Connections {
                    target: moduleHost.registry
                    function onCountChanged() {
                        if (moduleHost.registry.modulesInOwnWindows && moduleHost.registry.count > 0)
                            root.ownWindowsNoticeDue = true
                    }
                }
            }
            NoticeBar {
                id: moduleNotice
                objectName: "moduleNotice"
                shown: moduleHost.message.length > 0
                error: true
                text: moduleHost.message
                onDismissed: moduleHost.message = ""
            }

            // The running module's bar: its name, back to the dashboard, close.
            Rectangle {
                id: moduleBar
                objectName: "moduleBar"
                Layout.fillWidth: true
                Layout.preferredHeight: moduleHost.shownApp !== DashboardGlobal.APP_NULL ? root.moduleBarHeight : 0
                clip: true
                enabled: moduleHost.shownApp !== DashboardGlobal.APP_NULL
                color: Theme.surface
                border.color: Theme.border
                RowLayout {
                    anchors.fill: parent
                    anchors.leftMargin: Theme.spacing
                    anchors.rightMargin: Theme.spacing
                    spacing: Theme.spacingSmall
                    // Folded away with no module shown: its buttons are not offered then.
                    visible: moduleBar.enabled
                    Text {
                        Layout.fillWidth: true
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                        text: moduleHost.shownFile.length > 0 ? qsTr("%1 \u2014 %2").arg(moduleHost.shownName).arg(moduleHost.shownFile)
                                                              : moduleHost.shownName
                        color: Theme.text
                        font.pixelSize: Theme.fontSubtitle
                        font.weight: Font.DemiBold
                        elide: Text.ElideRight
                    }
                    ToolButtonX {
                        objectName: "backToDashboardButton"
                        glyph: Theme.icons.home
                        text: qsTr("Dashboard")
                        Accessible.name: qsTr("Back to the dashboard")
                        onClicked: {
                            moduleHost.showPages()
                            root.focusPage()
                        }
                    }
                    ToolButtonX {
                        objectName: "closeModuleButton"
                        glyph: Theme.icons.close
                        text: qsTr("Close %1").arg(moduleHost.shownName)
                        onClicked: moduleHost.closeShown()
                    }
                }
            }

            Item {
                id: pageArea
                Layout.fillWidth: true
                Layout.fillHeight: true

                StackLayout {
                    id: pages
                    anchors.fill: parent
                    visible: moduleHost.shownApp === DashboardGlobal.APP_NULL
                    currentIndex: root.page

                    HomePage {
                        id: homePage
                        objectName: "homePage"
                        recents: recents
                        myLabels: myLabels
                        favorites: favorites
                        host: root.host
                        focus: root.page === DashboardPage.Home
                        onOpenLabel: (controller, id) => controller.openLabel(id)
                        onBannerOpened: (bannerType) => root.openBanner(bannerType)
                        onFavoriteRemoved: root.syncFavorites(favorites)
                        onOpenRequested: (address) => root.openAddress(address)
                    }
                    Loader {
                        id: cloudLoader
                        active: false
                        focus: root.page === DashboardPage.Cloud
                        sourceComponent: CloudPage {
                            objectName: "cloudPage"
                            favorites: root.favorites
                            focus: true
                            onOpenLabel: (controller, id) => controller.openLabel(id)
                            onFavoriteRemoved: root.syncFavorites(root.favorites)
                        }
                    }
                    Loader {
                        id: resourcesLoader
                        active: false
                        focus: root.page === DashboardPage.Resources
                        sourceComponent: ResourcesPage {
                            objectName: "resourcesPage"
                            resources: root.dashMain.resourcesNavItems
                            focus: true
                            onBannerOpened: (bannerType) => root.openBanner(bannerType)
                            onOpenRequested: (address) => root.openAddress(address)
                        }
                    }
                    Loader {
                        id: settingsLoader
                        active: false
                        focus: root.page === DashboardPage.Settings
                        sourceComponent: SettingsPage {
                            objectName: "settingsPage"
                            settings: root.settings
                            sections: root.settingsSections
                            contents: root.settingsContents
                            host: root.host
                            focus: true
                            onShowCloud: root.showPage(DashboardPage.Cloud)
                        }
                    }
                }

                // Seen only while a shown module's window is not (yet) over it.
                EmptyState {
                    anchors.centerIn: parent
                    width: Math.min(parent.width - 48, 520)
                    visible: moduleHost.shownApp !== DashboardGlobal.APP_NULL
                    glyph: Theme.icons.labelDesigner
                    title: qsTr("%1 is running").arg(moduleHost.shownName)
                }
            }
        }
    }

    // Where module windows go: the page area as it is while a module is shown, below the
    // module bar, in the coordinates of this item, which fills the window's content item. A
    // module's window is so placed at its final size before the bar appears: a window resized
    // just after it was mapped draws twice, and a compositor may keep the first picture.
    Item {
        id: moduleArea
        objectName: "moduleArea"
        x: navBar.width
        y: contentColumn.y + moduleBar.y + root.moduleBarHeight
        width: pageArea.width
        height: contentColumn.y + contentColumn.height - y
        Accessible.role: Accessible.Pane
        Accessible.name: moduleHost.shownName
        Accessible.ignored: moduleHost.shownApp === DashboardGlobal.APP_NULL
    }

    ModuleHost {
        id: moduleHost
        mainWindow: root.mainWindow
        host: root.host
        contentArea: moduleArea
        names: root.moduleNames()
    }

    // My Labels follows its folder while it is shown; Recently viewed follows the modules'
    // view histories.
    FolderWatch {
        id: labelWatch
        objectName: "labelWatch"
        paths: [homePage.currentFolder, root.host.labelFolder]
        active: root.page === DashboardPage.Home && homePage.tab === 1 && moduleHost.shownApp === DashboardGlobal.APP_NULL
        onChanged: homePage.labelList.reload(true)
    }
    FolderWatch {
        id: historyWatch
        objectName: "historyWatch"
        paths: [root.host.historyFolder]
        active: root.page === DashboardPage.Home && homePage.tab === 0 && moduleHost.shownApp === DashboardGlobal.APP_NULL
        onChanged: homePage.recentList.reload(true)
    }

    // Made when quitting found modules still open (the overlay is made only when needed).
    Loader {
        active: root.stillOpenModules.length > 0
        sourceComponent: QuitQuestion {
            objectName: "quitQuestion"
            parent: Overlay.overlay
            anchors.centerIn: parent
            width: Math.min(parent.width - 48, 560)
            modules: root.host.modules
            stillOpen: root.stillOpenModules
        }
    }

    Component {
        id: overflowMenuComponent
        OverflowMenu {
            objectName: "overflowMenu"
            menuModel: root.menuModel
            onChosen: (navType) => root.chooseMenu(navType)
            onClosed: {
                if (root.focusPageAfterMenu) {
                    root.focusPageAfterMenu = false
                    root.focusPage()
                }
            }
        }
    }

    Component {
        id: aboutComponent
        AboutDialog {
            objectName: "aboutDialog"
            parent: Overlay.overlay
            anchors.centerIn: parent
            width: Math.min(parent.width - 48, 720)
            height: Math.min(parent.height - 48, 620)
            upgrader: root.upgrader
            license: root.license
        }
    }

    Shortcut {
        sequence: "Ctrl+Q"
        context: Qt.ApplicationShortcut
        onActivated: Qt.quit()
    }
    Shortcut {
        sequence: "Ctrl+F"
        onActivated: {
            root.showPage(DashboardPage.Home, homePage.tab)
            homePage.searchField.forceActiveFocus()
        }
    }
}
