import QtQuick
import Korvex.Dashboard

// The front end's side of the running modules. The host's ModuleRegistry owns them (which
// process, which file, which window, which state); this makes the ModuleWindow item of
// each module window the registry reports, placed directly in the window's content item over
// the content area, and turns the registry's reports into the texts the notices show.
QtObject {
    id: modules

    required property DashboardMainWindow mainWindow
    required property HostServices host
    // The area the module windows cover, a child of an item that fills the window.
    required property Item contentArea

    readonly property ModuleRegistry registry: modules.host.modules
    // appType -> true while a module of that type starts, and while one runs.
    readonly property var loading: modules.registry ? modules.registry.startingTypes : ({})
    readonly property var running: modules.registry ? modules.registry.runningTypes : ({})
    // The module shown instead of the pages, APP_NULL for the pages.
    property int shownApp: modules.registry ? modules.registry.shownAppType : DashboardGlobal.APP_NULL
    readonly property string shownFile: modules.registry ? modules.registry.shownFileName : ""
    readonly property string shownName: nameOf(shownApp)
    property string message
    // The module that ended without being asked: { name, appType, filePath }, or null.
    property var stopped: null
    // appType -> display name, in the user's language.
    property var names: ({})

    onNamesChanged: if (modules.registry) modules.registry.setDisplayNames(modules.names)

    function nameOf(appType) {
        const name = modules.names[appType]
        return name === undefined ? "" : name
    }

    // A module's navigation button: show it when it runs, else start it.
    function activate(appType, name) {
        modules.launch(appType, "", name)
    }

    function launch(appType, filePath, name) {
        if (!modules.registry)
            return
        modules.message = ""
        modules.registry.open(appType, filePath)
    }

    // For a firmware update: printer maintenance is given the printer.
    function openPrinterMaintenance(printerName) {
        if (!modules.registry)
            return
        modules.message = ""
        modules.registry.openPrinterMaintenance(printerName)
    }

    function showInstance(processId) {
        modules.registry.show(processId)
    }

    function showPages() {
        if (modules.registry)
            modules.registry.showPages()
    }

    // Closes the shown module when it is of that type, else the first one of that type.
    function close(appType) {
        if (!modules.registry)
            return
        const pid = modules.registry.shownAppType === appType ? modules.registry.shownProcess
                                                              : modules.registry.firstOfType(appType)
        if (pid)
            modules.registry.close(pid)
    }
    function closeShown() {
        if (modules.registry && modules.registry.shownProcess)
            modules.registry.close(modules.registry.shownProcess)
    }

    function embed(processId, windowId, appName, appType) {
        const area = modules.contentArea
        const content = modules.mainWindow.contentItem
        // The item's numbers reach the native window calls unscaled, so on a scaled screen it
        // is laid out in device pixels to cover the area.
        const scale = () => modules.mainWindow.dpiScale > 0 ? modules.mainWindow.dpiScale : 1
        const item = appWindowComponent.createObject(content, {
            windowId: windowId,
            windowTitle: appName,
            applicationPath: modules.host.programPath(modules.mainWindow.getApplicationExec(appType)),
            x: Qt.binding(() => area.x * scale()),
            y: Qt.binding(() => area.y * scale()),
            width: Qt.binding(() => area.width * scale()),
            height: Qt.binding(() => area.height * scale())
        })
        if (!item) {
            modules.message = qsTr("%1 started, but its window could not be shown.").arg(appName)
            return
        }
        // Its window manager kept the window: the module runs, but beside the dashboard.
        item.embeddingFailed.connect(() => {
            const shown = modules.nameOf(appType).length > 0 ? modules.nameOf(appType) : appName
            modules.message = qsTr("%1 could not be placed in the dashboard; it runs in a window of its own.").arg(shown)
        })
        modules.registry.attachWindow(processId, item)
    }

    property Component appWindowComponent: Component {
        id: appWindowComponent
        ModuleWindow {}
    }

    property Connections registryConnection: Connections {
        target: modules.registry
        function onWindowReady(processId, windowId, name, appType) {
            modules.embed(processId, windowId, name, appType)
        }
        function onStartFailed(text) {
            modules.message = text
        }
        function onModuleStopped(name, appType, filePath) {
            modules.stopped = { name: modules.nameOf(appType).length > 0 ? modules.nameOf(appType) : name,
                                appType: appType, filePath: filePath }
        }
    }
}
