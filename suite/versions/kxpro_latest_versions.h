#pragma once

#include "korvexsuite_export.h"

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QVersionNumber>

// The newest published release of the suite.
struct KORVEXSUITE_EXPORT KXPROVersionInfoStruct
{
    QVersionNumber version;
    QDateTime releaseDate;
    QString downloadUrl;
    QString releaseNotes;
};

// Compares the installed suite with the newest release named in a version manifest, a JSON
// file whose location is configuration ("updates/manifest" in the user's "KorvexPro" store,
// default "versions/latest.json" beside the program):
//   { "version": "1.2.0", "releaseDate": "2026-01-31T00:00:00Z",
//     "downloadUrl": "https://...", "releaseNotes": "..." }
// A check starts on its own once the event loop runs after construction, and each check ends
// with versionInfoStructUpdated(). A missing or malformed manifest means "no update".
class KORVEXSUITE_EXPORT KXPROLatestVersions : public QObject
{
    Q_OBJECT

public:
    explicit KXPROLatestVersions(QObject *parent = nullptr);

    // The installed suite: the project version the library was built with.
    QVersionNumber getCurrentVersion() const;
    // True when the last check found a release newer than the installed one.
    bool updateAvailable() const;
    // The release the last check found; empty until a manifest was read successfully.
    KXPROVersionInfoStruct getVersionInfoStruct() const;
    // Where the manifest is read from.
    static QString manifestPath();

public Q_SLOTS:
    // Reads the manifest now, then emits versionInfoStructUpdated().
    void checkForUpdates();

Q_SIGNALS:
    void versionInfoStructUpdated();

private:
    bool readManifest(const QString &path, KXPROVersionInfoStruct *info, QString *error) const;

    KXPROVersionInfoStruct m_info;
    bool m_updateAvailable = false;
};
