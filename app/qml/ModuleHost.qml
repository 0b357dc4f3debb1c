import QtQuick
import Korvex.Dashboard

// The running modules: starts them, waits for their windows, embeds each in a
// DashboardAppWindow placed directly in the window's content item over the content area,
// switches between them and the pages, and forgets a module when its window is gone.
QtObject {
    id: modules

    required property DashboardMainWindow mainWindow
    required property HostServices host
    // The area the module windows cover, a child of an item that fills the window.
    required property Item contentArea

    // appType -> true while the module starts, and while it runs.
    property var loading: ({})
    property var running: ({})
    // { appType, name, processId, item } for each embedded module.
    property var embedded: []
    // The module shown instead of the pages, APP_NULL for the pages.
    property int shownApp: DashboardGlobal.APP_NULL
    readonly property string shownName: nameOf(shownApp)
    property string message
    // appType -> display name, and the start time of each module being started.
    property var names: ({})
    property var pendingSince: ({})

    signal moduleShown(int appType)
    signal moduleGone(int appType)

    function nameOf(appType) {
        const name = modules.names[appType]
        return name === undefined ? "" : name
    }
    function setFlag(map, appType, on) {
        const copy = Object.assign({}, map)
        if (on)
            copy[appType] = true
        else
            delete copy[appType]
        return copy
    }
    function find(appType) {
        for (let i = 0; i < modules.embedded.length; ++i) {
            if (modules.embedded[i].appType === appType)
                return modules.embedded[i]
        }
        return null
    }

    // A module's navigation button: show it when it runs, else start it.
    function activate(appType, name) {
        if (modules.find(appType)) {
            modules.show(appType)
            return
        }
        modules.launch(appType, "", name)
    }

    function launch(appType, filePath, name) {
        if (name && name.length > 0) {
            const names = Object.assign({}, modules.names)
            names[appType] = name
            modules.names = names
        }
        const displayName = modules.nameOf(appType).length > 0 ? modules.nameOf(appType) : modules.mainWindow.getApplicationExec(appType)
        const program = modules.mainWindow.getApplicationExec(appType)
        if (!modules.host.programExists(program)) {
            modules.loading = modules.setFlag(modules.loading, appType, false)
            modules.message = qsTr("%1 cannot start: its program %2 is not installed.")
                                .arg(displayName).arg(modules.host.programPath(program))
            return
        }
        if (modules.loading[appType] === true && filePath.length === 0)
            return
        modules.message = ""
        modules.loading = modules.setFlag(modules.loading, appType, true)
        const since = Object.assign({}, modules.pendingSince)
        since[appType] = Date.now()
        modules.pendingSince = since
        watchdog.start()
        if (filePath.length > 0)
            modules.mainWindow.launchApplication(appType, filePath)
        else
            modules.mainWindow.launchApplication(appType)
    }

    // Which started module a ready report is for: by its program or display name, else the
    // one that has waited longest.
    function matchReady(appName) {
        const candidates = [appName, appName + ".exe"]
        for (let i = 0; i < candidates.length; ++i) {
            const type = modules.mainWindow.getApplicationType(candidates[i])
            if (type !== DashboardGlobal.APP_NULL)
                return type
        }
        const wanted = appName.toLowerCase()
        let oldest = DashboardGlobal.APP_NULL
        let oldestSince = 0
        for (const key in modules.pendingSince) {
            const type = Number(key)
            const exec = modules.mainWindow.getApplicationExec(type).toLowerCase()
            if (exec === wanted || exec.replace(/\.exe$/, "") === wanted || modules.nameOf(type).toLowerCase() === wanted)
                return type
            if (oldest === DashboardGlobal.APP_NULL || modules.pendingSince[key] < oldestSince) {
                oldest = type
                oldestSince = modules.pendingSince[key]
            }
        }
        return oldest
    }

    function stopWaiting(appType) {
        modules.loading = modules.setFlag(modules.loading, appType, false)
        const since = Object.assign({}, modules.pendingSince)
        delete since[appType]
        modules.pendingSince = since
    }

    function embed(windowId, processId, appName) {
        const appType = modules.matchReady(appName)
        modules.stopWaiting(appType)
        const area = modules.contentArea
        const content = modules.mainWindow.contentItem
        // The item's numbers reach the native window calls unscaled, so on a scaled screen it
        // is laid out in device pixels to cover the area.
        const scale = () => modules.mainWindow.dpiScale > 0 ? modules.mainWindow.dpiScale : 1
        const item = appWindowComponent.createObject(content, {
            windowId: windowId >>> 0,
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
        item.windowDestroyed.connect(() => modules.forget(item))
        modules.embedded = modules.embedded.concat([{ appType: appType, name: appName, processId: processId, item: item }])
        modules.running = modules.setFlag(modules.running, appType, true)
        if (modules.nameOf(appType).length === 0) {
            const names = Object.assign({}, modules.names)
            names[appType] = appName
            modules.names = names
        }
        modules.show(appType)
    }

    // The module's window is gone and its item deletes itself: drop every reference to it.
    function forget(item) {
        let appType = DashboardGlobal.APP_NULL
        const kept = []
        for (let i = 0; i < modules.embedded.length; ++i) {
            if (modules.embedded[i].item === item)
                appType = modules.embedded[i].appType
            else
                kept.push(modules.embedded[i])
        }
        modules.embedded = kept
        if (!modules.find(appType))
            modules.running = modules.setFlag(modules.running, appType, false)
        if (modules.shownApp === appType)
            modules.shownApp = DashboardGlobal.APP_NULL
        modules.moduleGone(appType)
    }

    function show(appType) {
        for (let i = 0; i < modules.embedded.length; ++i) {
            const entry = modules.embedded[i]
            if (entry.appType === appType) {
                entry.item.visible = true
                entry.item.showApplication()
            } else {
                entry.item.hideApplication()
                entry.item.visible = false
            }
        }
        modules.shownApp = appType
        modules.moduleShown(appType)
    }

    function showPages() {
        for (let i = 0; i < modules.embedded.length; ++i) {
            modules.embedded[i].item.hideApplication()
            modules.embedded[i].item.visible = false
        }
        modules.shownApp = DashboardGlobal.APP_NULL
    }

    function close(appType) {
        const entry = modules.find(appType)
        if (entry)
            entry.item.closeApplication()
    }

    property Component appWindowComponent: Component {
        id: appWindowComponent
        DashboardAppWindow {}
    }

    property Timer watchdog: Timer {
        id: watchdog
        interval: 250
        repeat: true
        onTriggered: {
            const now = Date.now()
            let waiting = false
            for (const key in modules.pendingSince) {
                const type = Number(key)
                if (now - modules.pendingSince[key] >= modules.host.moduleStartTimeout) {
                    modules.stopWaiting(type)
                    modules.message = qsTr("%1 did not start: its window did not appear within %2 seconds.")
                                        .arg(modules.nameOf(type)).arg(Math.round(modules.host.moduleStartTimeout / 1000))
                } else {
                    waiting = true
                }
            }
            if (!waiting)
                watchdog.stop()
        }
    }

    property Connections readyConnection: Connections {
        target: modules.mainWindow
        function onApplicationReady(appWId, appProcessId, appName) {
            modules.embed(appWId, appProcessId, appName)
        }
    }
}
