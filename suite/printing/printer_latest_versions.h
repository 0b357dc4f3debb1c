#pragma once

#include "korvexsuite_export.h"

#include <QHash>
#include <QObject>
#include <QString>

// The newest firmware of each printer type, read from the firmware manifest (a JSON file).
class KORVEXSUITE_EXPORT PrinterLatestVersions : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 MAX_FILE_SIZE = 4 * 1024 * 1024;

    explicit PrinterLatestVersions(QObject *parent = nullptr);

    // The manifest read by checkForUpdates; PrinterDirectory's firmware manifest when empty.
    QString manifestFile() const;
    void setManifestFile(const QString &path) { m_manifestFile = path; }

    // Latest version text of a printer type from the last check; the pre-release version
    // when asked and the manifest has one. Empty when the type is unknown.
    Q_INVOKABLE QString getAvailableVersionForPrinterType(int printerType, bool preRelease) const;

public Q_SLOTS:
    // Reports checkingForUpdates(-1, true) at once, then reads the manifest from the event
    // loop, as a download would finish, and reports checkingForUpdates(-1, false).
    void checkForUpdates();

Q_SIGNALS:
    void checkingForUpdates(int printerType, bool isChecking);

private:
    void finishCheck();

    struct Versions
    {
        QString latest;
        QString preRelease;
    };
    QString m_manifestFile;
    QHash<int, Versions> m_versions;
    bool m_checkPending = false;
};
