#pragma once

#include "dashboard_global.h"
#include "korvexdashboard_export.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QProcess>
#include <QSet>
#include <QString>
#include <QStringList>

// What happens to the module processes a launcher starts, for the host's own bookkeeping of
// running modules; kept apart from the launcher's QML-facing interface.
class KORVEXDASHBOARD_EXPORT LauncherProcessEvents : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

Q_SIGNALS:
    // A module process was started (it has an id); filePath is the label file it was given,
    // empty when none.
    void applicationStarting(qint64 processId, DashboardGlobal::ApplicationType appType,
                             const QString &filePath);
    // A started module process ended, or its program could not be run (crashed true, exit
    // code -1). processId is the id it had while it ran.
    void applicationFinished(qint64 processId, int exitCode, bool crashed);
};

// Starts the suite's module programs with the command line that tells them they run inside
// the dashboard, and maps label files to the module that opens them.
class KORVEXDASHBOARD_EXPORT LauncherController : public QObject
{
    Q_OBJECT

public:
    explicit LauncherController(QObject *parent = nullptr);
    ~LauncherController() override;

    void setTestModeEnabled(bool newTestModeEnabled);

    static const QStringList DESIGNER_SUFFIXES;
    static const QStringList PIPE_SUFFIXES;

    LauncherProcessEvents *processEvents() const { return m_events; }
    // Lets a running module outlive the launcher: it is no longer followed and is never
    // closed or killed by the launcher (its QProcess is left undeleted on purpose, since
    // deleting a QProcess kills its process). False when no running module has that id.
    bool leaveRunning(qint64 processId);
    // Starts printer maintenance for one of the suite's printers (a firmware update), passed
    // as the other modules get the default printer; the slot passes no printer.
    void launchPrinterMaintenanceFor(const QString &printerName);

Q_SIGNALS:
    void fileNotSupportedSignal(QString path);
    void applicationClosed(qint64 processId);

public Q_SLOTS:
    void launchLabelFile(QString filePath);
    void launchApplication(DashboardGlobal::ApplicationType appType, QString filePath = QString());
    void setDashboardWId(int dashboardWId);
    void closeProcess(qint64 processId);
    QString getApplicationExec(DashboardGlobal::ApplicationType appType);
    DashboardGlobal::ApplicationType getApplicationType(QString appExec);
    DashboardGlobal::ApplicationType getFileArgumentApplicationType(QString filePath);
    void updateActiveDefaultPrinter(QString activeDefaultPrinter, bool isQV);

private Q_SLOTS:
    void launchLabelEditor(QString fileName = QString());
    void launchPipeMarker(QString fileName = QString());
    void launchChemicalLabeling();
    void launchNFPA();
    void launchArcFlash();
    void launchSymbolCreator();
    void launchPrinterMaintenance();
    void launchPremadeSigns();
    void startApplicationProcess(DashboardGlobal::ApplicationType appType,
                                 QStringList arguments = QStringList());
    void onProcessStateChanged(QProcess::ProcessState newState);
    void initApplicationTypes();

private:
    static QString printerArgument(const QString &printerName, bool isQV);
    QStringList moduleArguments(bool withPrinter, bool withTestMode,
                                const QString &fileName = QString()) const;

    LauncherProcessEvents *m_events;
    QList<QProcess *> m_processList;
    bool m_testModeEnabled = false;
    int m_dashboardWId = 0;
    QString m_printerArgument;
    QMap<DashboardGlobal::ApplicationType, QString> m_applicationTypes;
    // Processes that reached Running. On Unix a child has an id before exec fails, so the id
    // alone does not tell a module that ended from one that never started.
    QSet<const QProcess *> m_startedProcesses;
};
