#pragma once

#include "korvexdashboard_export.h"

#include "versions/kxpro_latest_versions.h"

#include <QObject>
#include <QString>

// Tells the front end whether a newer suite release exists and starts the upgrader. The
// version checker runs its check by itself; this class relays each answer.
class KORVEXDASHBOARD_EXPORT DashboardUpgraderHelper : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isUpdateAvailable READ isUpdateAvailable NOTIFY isUpdateAvailableChanged)
    Q_PROPERTY(QString availableVersion READ availableVersion NOTIFY availableVersionChanged)

public:
    static constexpr const char *UPGRADER_EXECUTABLE = "KXPROUpgrader.exe";

    explicit DashboardUpgraderHelper(QObject *parent = nullptr);

    bool isUpdateAvailable() const { return m_isUpdateAvailable; }
    QString availableVersion() const { return m_availableVersion; }

    Q_INVOKABLE QString getCurrentVersion();
    // Quits the application and starts the upgrader detached; neither result is reported.
    Q_INVOKABLE void launchKxproUpgrader();

    // The program launchKxproUpgrader starts.
    static QString upgraderProgram();

public Q_SLOTS:
    void handleUpdateCheck();

Q_SIGNALS:
    void isUpdateAvailableChanged(bool isUpdateAvailable);
    void availableVersionChanged(const QString &availableVersion);

private:
    bool m_isUpdateAvailable = false;
    QString m_availableVersion;
    QString m_currentVersion;
    KXPROVersionInfoStruct m_versionInfo;
    KXPROLatestVersions *m_latestVersions = nullptr;
};
