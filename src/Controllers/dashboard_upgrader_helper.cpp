#include "Controllers/dashboard_upgrader_helper.h"

#include "Controllers/launcher_controller_p.h"
#include "dashboard_logging.h"

#include <QCoreApplication>
#include <QProcess>

DashboardUpgraderHelper::DashboardUpgraderHelper(QObject *parent)
    : QObject(parent), m_availableVersion(QStringLiteral("X.X.XX"))
{
    m_latestVersions = new KXPROLatestVersions(this);
    connect(m_latestVersions, &KXPROLatestVersions::versionInfoStructUpdated, this,
            &DashboardUpgraderHelper::handleUpdateCheck);
    m_currentVersion = m_latestVersions->getCurrentVersion().toString();
}

QString DashboardUpgraderHelper::getCurrentVersion()
{
    return m_currentVersion;
}

void DashboardUpgraderHelper::handleUpdateCheck()
{
    m_isUpdateAvailable = m_latestVersions->updateAvailable();
    if (!m_isUpdateAvailable) {
        Q_EMIT isUpdateAvailableChanged(false);
        return;
    }
    m_versionInfo = m_latestVersions->getVersionInfoStruct();
    m_availableVersion = m_versionInfo.version.toString();
    Q_EMIT availableVersionChanged(m_availableVersion);
    Q_EMIT isUpdateAvailableChanged(true);
}

QString DashboardUpgraderHelper::upgraderProgram()
{
    // Found like the modules: beside the program.
    return LauncherPrivate::moduleProgram(QCoreApplication::applicationDirPath() + QLatin1Char('/'),
                                          QLatin1String(UPGRADER_EXECUTABLE));
}

void DashboardUpgraderHelper::launchKxproUpgrader()
{
    QCoreApplication::quit();
    const QString program = upgraderProgram();
    KX_DEBUG(lcUpdate, "Starting the upgrader %s", qUtf8Printable(program));
    QProcess::startDetached(program, QStringList());
}
