#include "versions/kxpro_latest_versions.h"

#include "common/suite_store.h"
#include "logging/cute_logger.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QSettings>

Q_LOGGING_CATEGORY(lcSuiteVersions, "korvex.suite.versions")

namespace {

// A manifest is a few hundred bytes; anything far larger is not one.
constexpr qint64 MAX_MANIFEST_SIZE = 1024 * 1024;

} // namespace

KXPROLatestVersions::KXPROLatestVersions(QObject *parent) : QObject(parent)
{
    // Queued, so the creator can connect to versionInfoStructUpdated() first.
    QMetaObject::invokeMethod(this, &KXPROLatestVersions::checkForUpdates, Qt::QueuedConnection);
}

QVersionNumber KXPROLatestVersions::getCurrentVersion() const
{
    return QVersionNumber::fromString(QStringLiteral(KORVEX_PROJECT_VERSION));
}

bool KXPROLatestVersions::updateAvailable() const
{
    return m_updateAvailable;
}

KXPROVersionInfoStruct KXPROLatestVersions::getVersionInfoStruct() const
{
    return m_info;
}

QString KXPROLatestVersions::manifestPath()
{
    const QString configured =
            SuiteStore::openDashboardStore()->value(QStringLiteral("updates/manifest")).toString();
    if (!configured.isEmpty())
        return configured;
    return QCoreApplication::applicationDirPath() + QStringLiteral("/versions/latest.json");
}

bool KXPROLatestVersions::readManifest(const QString &path, KXPROVersionInfoStruct *info,
                                       QString *error) const
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return false;
    }
    const QByteArray data = file.read(MAX_MANIFEST_SIZE + 1);
    if (data.size() > MAX_MANIFEST_SIZE) {
        *error = QStringLiteral("file too large");
        return false;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        *error = parseError.errorString();
        return false;
    }
    if (!document.isObject()) {
        *error = QStringLiteral("not a JSON object");
        return false;
    }
    const QJsonObject object = document.object();
    const QJsonValue version = object.value(QStringLiteral("version"));
    if (!version.isString()) {
        *error = QStringLiteral("no \"version\" text");
        return false;
    }
    qsizetype suffixIndex = 0;
    const QVersionNumber number = QVersionNumber::fromString(version.toString(), &suffixIndex);
    if (number.isNull() || suffixIndex != version.toString().size()) {
        *error = QStringLiteral("bad version \"%1\"").arg(version.toString());
        return false;
    }
    info->version = number;
    info->releaseDate = QDateTime::fromString(object.value(QStringLiteral("releaseDate")).toString(),
                                              Qt::ISODate);
    info->downloadUrl = object.value(QStringLiteral("downloadUrl")).toString();
    info->releaseNotes = object.value(QStringLiteral("releaseNotes")).toString();
    return true;
}

void KXPROLatestVersions::checkForUpdates()
{
    const QString path = manifestPath();
    KXPROVersionInfoStruct info;
    QString error;
    if (readManifest(path, &info, &error)) {
        m_info = info;
        m_updateAvailable = info.version > getCurrentVersion();
    } else {
        KX_DEBUG(lcSuiteVersions, "Version manifest %s unusable: %s", qUtf8Printable(path),
                 qUtf8Printable(error));
        m_updateAvailable = false;
    }
    Q_EMIT versionInfoStructUpdated();
}
