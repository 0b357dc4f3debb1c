#include "Controllers/launcher_controller.h"

#include "Controllers/launcher_controller_p.h"
#include "dashboard_logging.h"

#include <QCoreApplication>
#include <QFileInfo>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KORVEX_LSAN_AVAILABLE 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define KORVEX_LSAN_AVAILABLE 1
#endif
#ifdef KORVEX_LSAN_AVAILABLE
#include <sanitizer/lsan_interface.h>
#endif

const QStringList LauncherController::DESIGNER_SUFFIXES = {
    QStringLiteral("kxld"), QStringLiteral("kxlt"), QStringLiteral("kxcl"),
    QStringLiteral("kxaf"), QStringLiteral("kxnf"),
};

const QStringList LauncherController::PIPE_SUFFIXES = {
    QStringLiteral("kxaw"), QStringLiteral("kxam"), QStringLiteral("kxpm"),
};

LauncherController::LauncherController(QObject *parent)
    : QObject(parent), m_events(new LauncherProcessEvents(this))
{
    initApplicationTypes();
}

LauncherController::~LauncherController()
{
    for (QProcess *process : std::as_const(m_processList))
        process->close();
}

void LauncherController::setTestModeEnabled(bool newTestModeEnabled)
{
    m_testModeEnabled = newTestModeEnabled;
}

void LauncherController::initApplicationTypes()
{
    m_applicationTypes.insert(DashboardGlobal::APP_LABELDESIGNER, QStringLiteral("QVLabelEditor.exe"));
    m_applicationTypes.insert(DashboardGlobal::APP_PREMADESIGNS, QStringLiteral("QVCatalog.exe"));
    m_applicationTypes.insert(DashboardGlobal::APP_ARCFLASH, QStringLiteral("ArcFlashMain.exe"));
    m_applicationTypes.insert(DashboardGlobal::APP_CHEMICAL, QStringLiteral("QuenbyGHS.exe"));
    m_applicationTypes.insert(DashboardGlobal::APP_NFPA, QStringLiteral("NFPAMain.exe"));
    m_applicationTypes.insert(DashboardGlobal::APP_PIPEMARKING, QStringLiteral("PipeMarkingMain.exe"));
    m_applicationTypes.insert(DashboardGlobal::APP_SYMBOLCREATOR,
                              QStringLiteral("SymbolCreatorAppMain.exe"));
    m_applicationTypes.insert(DashboardGlobal::APP_PRINTERMAINTENANCE,
                              QStringLiteral("PrinterMaintenance.exe"));
}

void LauncherController::setDashboardWId(int dashboardWId)
{
    m_dashboardWId = dashboardWId;
}

void LauncherController::updateActiveDefaultPrinter(QString activeDefaultPrinter, bool isQV)
{
    m_printerArgument = printerArgument(activeDefaultPrinter, isQV);
}

QString LauncherController::printerArgument(const QString &printerName, bool isQV)
{
    // One argument, blank after "--p" included: the modules split it themselves.
    return QStringLiteral("--p ") + printerName + (isQV ? QStringLiteral(",1") : QStringLiteral(",0"));
}

QString LauncherController::getApplicationExec(DashboardGlobal::ApplicationType appType)
{
    return m_applicationTypes.value(appType);
}

DashboardGlobal::ApplicationType LauncherController::getApplicationType(QString appExec)
{
    for (auto it = m_applicationTypes.cbegin(); it != m_applicationTypes.cend(); ++it) {
        if (it.value() == appExec)
            return it.key();
    }
    return DashboardGlobal::APP_NULL;
}

DashboardGlobal::ApplicationType LauncherController::getFileArgumentApplicationType(QString filePath)
{
    const QFileInfo info(filePath);
    if (filePath.isEmpty() || !info.isFile() || !info.isReadable())
        return DashboardGlobal::APP_NULL;

    const QString suffix = info.suffix().toLower();
    if (DESIGNER_SUFFIXES.contains(suffix))
        return DashboardGlobal::APP_LABELDESIGNER;
    if (PIPE_SUFFIXES.contains(suffix))
        return DashboardGlobal::APP_PIPEMARKING;
    return DashboardGlobal::APP_NULL;
}

void LauncherController::launchLabelFile(QString filePath)
{
    switch (getFileArgumentApplicationType(filePath)) {
    case DashboardGlobal::APP_LABELDESIGNER:
        launchLabelEditor(filePath);
        break;
    case DashboardGlobal::APP_PIPEMARKING:
        launchPipeMarker(filePath);
        break;
    default:
        break;
    }
}

void LauncherController::launchApplication(DashboardGlobal::ApplicationType appType, QString filePath)
{
    switch (appType) {
    case DashboardGlobal::APP_LABELDESIGNER:
        launchLabelEditor(filePath);
        break;
    case DashboardGlobal::APP_PREMADESIGNS:
        launchPremadeSigns();
        break;
    case DashboardGlobal::APP_ARCFLASH:
        launchArcFlash();
        break;
    case DashboardGlobal::APP_CHEMICAL:
        launchChemicalLabeling();
        break;
    case DashboardGlobal::APP_NFPA:
        launchNFPA();
        break;
    case DashboardGlobal::APP_PIPEMARKING:
        launchPipeMarker(filePath);
        break;
    case DashboardGlobal::APP_SYMBOLCREATOR:
        startApplicationProcess(DashboardGlobal::APP_SYMBOLCREATOR, QStringList());
        break;
    case DashboardGlobal::APP_PRINTERMAINTENANCE:
        launchPrinterMaintenance();
        break;
    default:
        break;
    }
}

QStringList LauncherController::moduleArguments(bool withPrinter, bool withTestMode,
                                                const QString &fileName) const
{
    QStringList arguments;
    if (withPrinter)
        arguments << m_printerArgument; // passed even when empty
    if (withTestMode && m_testModeEnabled)
        arguments << QStringLiteral("--qvtestmode");
    if (!fileName.isEmpty())
        arguments << fileName;
    return arguments;
}

void LauncherController::launchLabelEditor(QString fileName)
{
    startApplicationProcess(DashboardGlobal::APP_LABELDESIGNER, moduleArguments(true, true, fileName));
}

void LauncherController::launchPipeMarker(QString fileName)
{
    startApplicationProcess(DashboardGlobal::APP_PIPEMARKING, moduleArguments(true, true, fileName));
}

void LauncherController::launchChemicalLabeling()
{
    startApplicationProcess(DashboardGlobal::APP_CHEMICAL, moduleArguments(true, true));
}

void LauncherController::launchNFPA()
{
    startApplicationProcess(DashboardGlobal::APP_NFPA, moduleArguments(true, true));
}

void LauncherController::launchArcFlash()
{
    startApplicationProcess(DashboardGlobal::APP_ARCFLASH, moduleArguments(true, true));
}

void LauncherController::launchSymbolCreator()
{
    // The symbol creator never runs in test mode.
    startApplicationProcess(DashboardGlobal::APP_SYMBOLCREATOR, QStringList());
}

void LauncherController::launchPrinterMaintenance()
{
    startApplicationProcess(DashboardGlobal::APP_PRINTERMAINTENANCE, moduleArguments(false, true));
}

void LauncherController::launchPrinterMaintenanceFor(const QString &printerName)
{
    QStringList arguments = moduleArguments(false, true);
    if (!printerName.isEmpty())
        arguments.prepend(printerArgument(printerName, true));
    startApplicationProcess(DashboardGlobal::APP_PRINTERMAINTENANCE, arguments);
}

void LauncherController::launchPremadeSigns()
{
    startApplicationProcess(DashboardGlobal::APP_PREMADESIGNS, moduleArguments(false, true));
}

void LauncherController::startApplicationProcess(DashboardGlobal::ApplicationType appType,
                                                 QStringList arguments)
{
    auto *process = new QProcess(this);
    connect(process, &QProcess::started, this, [this, process] { m_startedProcesses.insert(process); });
    connect(process, &QProcess::stateChanged, this, &LauncherController::onProcessStateChanged);
    connect(process, &QProcess::finished, process, &QObject::deleteLater);
    // A process that never started never finishes; let it go instead of keeping it until
    // the launcher dies.
    connect(process, &QProcess::errorOccurred, process, [process](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            process->deleteLater();
    });

    arguments.prepend(QString::number(m_dashboardWId));
    arguments.prepend(QStringLiteral("--dashboard"));

    const QString workingDirectory = QCoreApplication::applicationDirPath() + QLatin1Char('/');
    process->setWorkingDirectory(workingDirectory);

    const QString executable = getApplicationExec(appType);
    KX_DEBUG(lcLauncher, "Starting %s %s", qUtf8Printable(executable),
             qUtf8Printable(arguments.join(QLatin1Char(' '))));
    process->start(LauncherPrivate::moduleProgram(workingDirectory, executable), arguments,
                   QIODevice::ReadWrite);

    const qint64 pid = process->processId();
    if (pid == 0)
        return;
    // The id is gone once the process has ended, so it is kept for the end's report.
    connect(process, &QProcess::finished, this, [this, pid](int exitCode, QProcess::ExitStatus status) {
        Q_EMIT m_events->applicationFinished(pid, exitCode, status == QProcess::CrashExit);
    });
    connect(process, &QProcess::errorOccurred, this, [this, pid](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            Q_EMIT m_events->applicationFinished(pid, -1, true);
    });
    // The label file is the last argument of the modules that take one; the others end with
    // the printer or test-mode argument, which start with "--", or with the window id.
    QString filePath;
    if ((appType == DashboardGlobal::APP_LABELDESIGNER || appType == DashboardGlobal::APP_PIPEMARKING)
        && arguments.size() > 3 && !arguments.last().startsWith(QLatin1String("--")))
        filePath = arguments.last();
    Q_EMIT m_events->applicationStarting(pid, appType, filePath);
}

bool LauncherController::leaveRunning(qint64 processId)
{
    const QList<QProcess *> processes = findChildren<QProcess *>(QString(), Qt::FindDirectChildrenOnly);
    for (QProcess *process : processes) {
        if (process->processId() != processId || process->state() == QProcess::NotRunning)
            continue;
        KX_DEBUG(lcLauncher, "Leaving module %lld running on its own", processId);
        disconnect(process, nullptr, this, nullptr);
        process->disconnect();
        m_startedProcesses.remove(process);
        process->setParent(nullptr);
#ifdef KORVEX_LSAN_AVAILABLE
        __lsan_ignore_object(process);
#endif
        return true;
    }
    return false;
}

void LauncherController::onProcessStateChanged(QProcess::ProcessState newState)
{
    if (newState != QProcess::NotRunning)
        return;
    auto *process = qobject_cast<QProcess *>(sender());
    if (!process || !m_startedProcesses.remove(process))
        return;
    const qint64 pid = process->processId();
    if (pid == 0)
        return;
    closeProcess(pid);
    Q_EMIT applicationClosed(pid);
}

void LauncherController::closeProcess(qint64 processId)
{
    for (auto it = m_processList.begin(); it != m_processList.end(); ++it) {
        if ((*it)->processId() == processId) {
            (*it)->close();
            m_processList.erase(it);
            return;
        }
    }
}
