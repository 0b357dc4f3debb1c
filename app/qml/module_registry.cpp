#include "module_registry.h"

#include <dashboard_main_window.h>

#include <Controllers/launcher_controller.h>
#include <Controllers/qvipchelper_win32.h>
#include <dashboard_app_window.h>

#include <logging/cute_logger.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QQuickItem>

Q_LOGGING_CATEGORY(lcModules, "korvex.dashboard.modules")

namespace {

QString canonical(const QString &filePath)
{
    if (filePath.isEmpty())
        return QString();
    const QString path = QFileInfo(filePath).canonicalFilePath();
    return path.isEmpty() ? QFileInfo(filePath).absoluteFilePath() : path;
}

} // namespace

ModuleRegistry::ModuleRegistry(LauncherController *launcher, QVIPCHelper_win32 *messaging, QObject *parent)
    : QAbstractListModel(parent), m_launcher(launcher), m_messaging(messaging)
{
    m_quitTimer.setSingleShot(true);
    connect(&m_quitTimer, &QTimer::timeout, this, &ModuleRegistry::onQuitWaitOver);
    m_startWatch.setInterval(250);
    connect(&m_startWatch, &QTimer::timeout, this, &ModuleRegistry::checkStarting);
    if (launcher) {
        connect(launcher->processEvents(), &LauncherProcessEvents::applicationStarting, this, &ModuleRegistry::onStarting);
        connect(launcher->processEvents(), &LauncherProcessEvents::applicationFinished, this, &ModuleRegistry::onFinished);
    }
    if (messaging)
        connect(messaging, &QVIPCHelper_win32::applicationReady, this, &ModuleRegistry::onReady);
}

void ModuleRegistry::setModulesInOwnWindows(bool ownWindows)
{
    if (m_ownWindows == ownWindows)
        return;
    m_ownWindows = ownWindows;
    Q_EMIT modulesInOwnWindowsChanged();
}

void ModuleRegistry::reportStartFailure(const QString &message)
{
    KX_DEBUG(lcModules, "Module Error: %s", qUtf8Printable(message));
    Q_EMIT startFailed(message);
}

void ModuleRegistry::takeReadyReportsFrom(DashboardMainWindow *window)
{
    if (m_messaging)
        disconnect(m_messaging, &QVIPCHelper_win32::applicationReady, this, &ModuleRegistry::onReady);
    if (window)
        connect(window, &DashboardMainWindow::applicationReady, this, &ModuleRegistry::onReady);
}

ModuleRegistry::~ModuleRegistry()
{
    for (const Instance &instance : std::as_const(m_instances)) {
        if (instance.item)
            disconnect(instance.item, nullptr, this, nullptr);
    }
}

int ModuleRegistry::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_instances.size());
}

QVariant ModuleRegistry::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return QVariant();
    const Instance &instance = m_instances.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return nameOf(instance);
    case AppTypeRole:
        return int(instance.appType);
    case FilePathRole:
        return instance.filePath;
    case FileNameRole:
        return QFileInfo(instance.filePath).fileName();
    case ProcessIdRole:
        return instance.processId;
    case WindowIdRole:
        return instance.windowId;
    case StateRole:
        return int(instance.state);
    case ShownRole:
        return instance.processId == m_shown && m_shown != 0;
    default:
        return QVariant();
    }
}

QHash<int, QByteArray> ModuleRegistry::roleNames() const
{
    return {
        { AppTypeRole, "appType" },     { NameRole, "name" },
        { FilePathRole, "filePath" },   { FileNameRole, "fileName" },
        { ProcessIdRole, "processId" }, { WindowIdRole, "windowId" },
        { StateRole, "moduleState" },        { ShownRole, "shown" },
    };
}

int ModuleRegistry::shownAppType() const
{
    const int row = rowOf(m_shown);
    return row < 0 ? int(DashboardGlobal::APP_NULL) : int(m_instances.at(row).appType);
}

QString ModuleRegistry::shownFileName() const
{
    const int row = rowOf(m_shown);
    return row < 0 ? QString() : QFileInfo(m_instances.at(row).filePath).fileName();
}

QVariantMap ModuleRegistry::startingTypes() const
{
    QVariantMap types;
    for (const Instance &instance : m_instances) {
        if (instance.state == Starting)
            types.insert(QString::number(int(instance.appType)), true);
    }
    return types;
}

QVariantMap ModuleRegistry::runningTypes() const
{
    QVariantMap types;
    for (const Instance &instance : m_instances) {
        if (instance.state != Starting)
            types.insert(QString::number(int(instance.appType)), true);
    }
    return types;
}

void ModuleRegistry::setDisplayNames(const QVariantMap &names)
{
    m_names = names;
    if (!m_instances.isEmpty())
        Q_EMIT dataChanged(index(0), index(int(m_instances.size()) - 1), { Qt::DisplayRole, NameRole });
}

QString ModuleRegistry::displayName(int appType) const
{
    const QString name = m_names.value(QString::number(appType)).toString();
    if (!name.isEmpty())
        return name;
    return m_launcher ? m_launcher->getApplicationExec(DashboardGlobal::ApplicationType(appType)) : QString();
}

QString ModuleRegistry::nameOf(const Instance &instance) const
{
    const QString name = displayName(int(instance.appType));
    return name.isEmpty() ? instance.reportedName : name;
}

int ModuleRegistry::rowOf(qint64 processId) const
{
    if (processId == 0)
        return -1;
    for (int row = 0; row < m_instances.size(); ++row) {
        if (m_instances.at(row).processId == processId)
            return row;
    }
    return -1;
}

int ModuleRegistry::rowOfFile(DashboardGlobal::ApplicationType appType, const QString &filePath) const
{
    for (int row = 0; row < m_instances.size(); ++row) {
        const Instance &instance = m_instances.at(row);
        if (instance.appType == appType && instance.state != Closing && instance.filePath == filePath)
            return row;
    }
    return -1;
}

qint64 ModuleRegistry::firstOfType(int appType) const
{
    for (const Instance &instance : m_instances) {
        if (int(instance.appType) == appType)
            return instance.processId;
    }
    return 0;
}

void ModuleRegistry::changed(int row)
{
    Q_EMIT dataChanged(index(row), index(row));
    Q_EMIT countChanged(); // the type maps follow the states
}

void ModuleRegistry::removeRow(int row)
{
    const qint64 pid = m_instances.at(row).processId;
    beginRemoveRows(QModelIndex(), row, row);
    const Instance instance = m_instances.takeAt(row);
    endRemoveRows();
    if (instance.item) {
        disconnect(instance.item, nullptr, this, nullptr);
        // A window of a process that ended on its own may linger: it must not cover the pages.
        instance.item->hideApplication();
        instance.item->setVisible(false);
    }
    if (pid == m_shown)
        setShown(0);
    Q_EMIT countChanged();
}

qint64 ModuleRegistry::open(int appType, const QString &filePath)
{
    return start(appType, filePath, [this, appType, filePath] {
        m_launcher->launchApplication(DashboardGlobal::ApplicationType(appType), filePath);
    });
}

qint64 ModuleRegistry::openPrinterMaintenance(const QString &printerName)
{
    return start(DashboardGlobal::APP_PRINTERMAINTENANCE, QString(), [this, printerName] {
        m_launcher->launchPrinterMaintenanceFor(printerName);
    });
}

qint64 ModuleRegistry::start(int appType, const QString &filePath, const std::function<void()> &launch)
{
    const auto type = DashboardGlobal::ApplicationType(appType);
    if (!m_launcher || m_launcher->getApplicationExec(type).isEmpty())
        return 0;
    if (m_quitting)
        return 0;
    const QString file = canonical(filePath);
    // One click, one module: a second click (or a double-click) finds the first one.
    const int row = file.isEmpty() ? rowOf(firstOfType(appType)) : rowOfFile(type, file);
    if (row >= 0) {
        const Instance &instance = m_instances.at(row);
        if (instance.state != Starting)
            show(instance.processId);
        return instance.processId;
    }
    const QString program = m_launcher->getApplicationExec(type);
    const QFileInfo programFile(QCoreApplication::applicationDirPath() + QLatin1Char('/') + program);
    if (!programFile.isFile() || !programFile.isExecutable()) {
        reportStartFailure(tr("%1 cannot start: its program %2 is not installed.")
                                   .arg(displayName(appType), programFile.filePath()));
        return 0;
    }
    const int before = int(m_instances.size());
    launch();
    if (m_instances.size() == before) {
        reportStartFailure(tr("%1 could not be started.").arg(displayName(appType)));
        return 0;
    }
    return m_instances.constLast().processId;
}

void ModuleRegistry::onStarting(qint64 processId, DashboardGlobal::ApplicationType appType,
                                const QString &filePath)
{
    m_live.insert(processId, appType);
    Instance instance;
    instance.appType = appType;
    instance.filePath = canonical(filePath);
    instance.processId = processId;
    instance.since.start();
    // No window will be reported: a module that runs is open, in a window of its own.
    if (m_ownWindows)
        instance.state = Running;
    beginInsertRows(QModelIndex(), int(m_instances.size()), int(m_instances.size()));
    m_instances.append(instance);
    endInsertRows();
    Q_EMIT countChanged();
    KX_DEBUG(lcModules, "Module %lld starting: %s %s", processId, qUtf8Printable(displayName(appType)),
            qUtf8Printable(instance.filePath));
    if (!m_ownWindows && !m_startWatch.isActive())
        m_startWatch.start();
}

void ModuleRegistry::checkStarting()
{
    bool waiting = false;
    for (int row = int(m_instances.size()) - 1; row >= 0; --row) {
        const Instance &instance = m_instances.at(row);
        if (instance.state != Starting)
            continue;
        if (instance.since.elapsed() < m_startTimeout) {
            waiting = true;
            continue;
        }
        const QString name = nameOf(instance);
        // The process goes on being followed (m_live): a late window gets a row again.
        removeRow(row);
        reportStartFailure(tr("%1 did not start: its window did not appear within %2 seconds.")
                                   .arg(name)
                                   .arg(qRound(m_startTimeout / 1000.0)));
    }
    if (!waiting)
        m_startWatch.stop();
    checkQuitDone();
}

void ModuleRegistry::onReady(int windowId, int processId, const QString &applicationName)
{
    int row = rowOf(processId);
    if (row < 0) {
        // Not a process the launcher started (a wrapper, or one started before us): the
        // oldest module of that program still waiting for its window, else a row of its own.
        DashboardGlobal::ApplicationType type = DashboardGlobal::APP_NULL;
        if (m_launcher) {
            type = m_launcher->getApplicationType(applicationName);
            if (type == DashboardGlobal::APP_NULL)
                type = m_launcher->getApplicationType(applicationName + QStringLiteral(".exe"));
        }
        for (int i = 0; i < m_instances.size() && row < 0; ++i) {
            if (m_instances.at(i).state == Starting && m_instances.at(i).appType == type)
                row = i;
        }
        if (row < 0) {
            Instance instance;
            instance.appType = type;
            instance.processId = processId;
            instance.since.start();
            beginInsertRows(QModelIndex(), int(m_instances.size()), int(m_instances.size()));
            m_instances.append(instance);
            endInsertRows();
            row = int(m_instances.size()) - 1;
        }
    }
    Instance &instance = m_instances[row];
    if (instance.windowId != 0 && instance.item)
        return; // reported twice
    instance.reportedName = applicationName;
    instance.windowId = quint32(windowId);
    if (instance.state == Starting)
        instance.state = Running;
    changed(row);
    Q_EMIT windowReady(instance.processId, instance.windowId, nameOf(instance), int(instance.appType));
}

void ModuleRegistry::attachWindow(qint64 processId, QQuickItem *item)
{
    auto *window = qobject_cast<DashboardAppWindow *>(item);
    const int row = rowOf(processId);
    if (!window || row < 0)
        return;
    Instance &instance = m_instances[row];
    instance.item = window;
    connect(window, &DashboardAppWindow::windowDestroyed, this, [this, window] { onWindowGone(window); });
    if (m_quitting) {
        // Started while quitting: asked like the others, and never shown.
        window->hideApplication();
        window->setVisible(false);
        askToClose(instance);
        changed(row);
        return;
    }
    show(processId);
}

void ModuleRegistry::onWindowGone(DashboardAppWindow *item)
{
    for (int row = 0; row < m_instances.size(); ++row) {
        if (m_instances.at(row).item == item) {
            m_instances[row].item.clear(); // it deletes itself after this signal
            removeRow(row);
            break;
        }
    }
    checkQuitDone();
}

void ModuleRegistry::onFinished(qint64 processId, int exitCode, bool crashed)
{
    m_live.remove(processId);
    const int row = rowOf(processId);
    if (row >= 0) {
        const Instance instance = m_instances.at(row);
        removeRow(row);
        KX_DEBUG(lcModules, "Module %lld ended: exit code %d%s", processId, exitCode,
                crashed ? " (crashed)" : "");
        if (instance.state == Starting && !m_quitting)
            reportStartFailure(tr("%1 did not start: it ended before its window appeared.").arg(nameOf(instance)));
        else if (instance.state == Running && !m_quitting && (crashed || exitCode != 0))
            Q_EMIT moduleStopped(nameOf(instance), int(instance.appType), instance.filePath);
    }
    checkQuitDone();
}

void ModuleRegistry::setShown(qint64 processId)
{
    if (m_shown == processId)
        return;
    const int before = rowOf(m_shown);
    m_shown = processId;
    if (before >= 0)
        Q_EMIT dataChanged(index(before), index(before), { ShownRole });
    const int after = rowOf(m_shown);
    if (after >= 0)
        Q_EMIT dataChanged(index(after), index(after), { ShownRole });
    Q_EMIT shownChanged();
}

void ModuleRegistry::show(qint64 processId)
{
    const int row = rowOf(processId);
    if (row < 0 || !m_instances.at(row).item) {
        showPages();
        return;
    }
    // The others first, so two module windows are never over the page at once.
    for (int i = 0; i < m_instances.size(); ++i) {
        DashboardAppWindow *item = m_instances.at(i).item;
        if (i != row && item) {
            item->hideApplication();
            item->setVisible(false);
        }
    }
    DashboardAppWindow *item = m_instances.at(row).item;
    item->setVisible(true);
    item->showApplication();
    setShown(processId);
}

void ModuleRegistry::showPages()
{
    for (const Instance &instance : std::as_const(m_instances)) {
        if (instance.item) {
            instance.item->hideApplication();
            instance.item->setVisible(false);
        }
    }
    setShown(0);
}

void ModuleRegistry::close(qint64 processId)
{
    const int row = rowOf(processId);
    if (row < 0)
        return;
    askToClose(m_instances[row]);
    changed(row);
}

void ModuleRegistry::askToClose(Instance &instance)
{
    instance.state = Closing;
    if (instance.item)
        instance.item->closeApplication();
}

void ModuleRegistry::requestQuit()
{
    if (m_quitDone)
        return;
    if (m_quitting) {
        // Asked again while waiting (a second Ctrl+Q): the question comes at once.
        if (m_stillOpen.isEmpty() && m_quitTimer.isActive()) {
            m_quitTimer.stop();
            onQuitWaitOver();
        }
        return;
    }
    m_quitting = true;
    m_stillOpen.clear();
    KX_DEBUG(lcModules, "Quitting: %d modules to close", int(m_live.size()));
    if (m_instances.isEmpty() && m_live.isEmpty()) {
        Q_EMIT quitStateChanged();
        checkQuitDone();
        return;
    }
    if (m_messaging)
        m_messaging->closeApplicationRequest();
    for (int row = 0; row < m_instances.size(); ++row) {
        askToClose(m_instances[row]);
        changed(row);
    }
    m_quitTimer.start(m_quitWait);
    Q_EMIT quitStateChanged();
    checkQuitDone();
}

void ModuleRegistry::onQuitWaitOver()
{
    if (!m_quitting || m_quitDone)
        return;
    QStringList names;
    for (const Instance &instance : std::as_const(m_instances)) {
        QString name = nameOf(instance);
        if (!instance.filePath.isEmpty())
            name += QStringLiteral(" (%1)").arg(QFileInfo(instance.filePath).fileName());
        names << name;
    }
    // Processes whose window is gone, or that never showed one, are still open too.
    for (auto it = m_live.cbegin(); it != m_live.cend(); ++it) {
        if (rowOf(it.key()) < 0)
            names << tr("%1 (process %2)").arg(displayName(int(it.value()))).arg(it.key());
    }
    if (names.isEmpty()) {
        checkQuitDone();
        return;
    }
    m_stillOpen = names;
    // The user decides now: the pages come back under the question.
    showPages();
    Q_EMIT quitStateChanged();
}

void ModuleRegistry::cancelQuit()
{
    if (!m_quitting || m_quitDone)
        return;
    m_quitting = false;
    m_quitTimer.stop();
    m_stillOpen.clear();
    for (int row = 0; row < m_instances.size(); ++row) {
        if (m_instances.at(row).state == Closing) {
            m_instances[row].state = m_instances.at(row).windowId || m_ownWindows ? Running : Starting;
            changed(row);
        }
    }
    Q_EMIT quitStateChanged();
}

void ModuleRegistry::quitLeavingModules()
{
    if (!m_quitting || m_quitDone)
        return;
    for (auto it = m_live.cbegin(); it != m_live.cend(); ++it) {
        if (m_launcher)
            m_launcher->leaveRunning(it.key());
    }
    m_live.clear();
    // Their windows go back to the desktop when the dashboard's window goes.
    m_quitDone = true;
    m_quitTimer.stop();
    Q_EMIT quitStateChanged();
    Q_EMIT quitReady();
}

void ModuleRegistry::checkQuitDone()
{
    // Only processes of ours are waited for: modules another program started got the
    // broadcast and their WM_CLOSE, and their windows go back to the desktop.
    if (!m_quitting || m_quitDone || !m_live.isEmpty())
        return;
    m_quitDone = true;
    m_quitTimer.stop();
    m_stillOpen.clear();
    Q_EMIT quitStateChanged();
    Q_EMIT quitReady();
}
