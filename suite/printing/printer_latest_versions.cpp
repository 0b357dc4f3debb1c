#include "printing/printer_latest_versions.h"

#include "printing/printer_directory.h"
#include "printing/printing_logging.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

PrinterLatestVersions::PrinterLatestVersions(QObject *parent) : QObject(parent) { }

QString PrinterLatestVersions::manifestFile() const
{
    return m_manifestFile.isEmpty() ? PrinterDirectory::instance()->firmwareManifestFile()
                                    : m_manifestFile;
}

QString PrinterLatestVersions::getAvailableVersionForPrinterType(int printerType,
                                                                 bool preRelease) const
{
    const auto it = m_versions.constFind(printerType);
    if (it == m_versions.constEnd())
        return QString();
    return preRelease && !it->preRelease.isEmpty() ? it->preRelease : it->latest;
}

void PrinterLatestVersions::checkForUpdates()
{
    Q_EMIT checkingForUpdates(-1, true);
    if (m_checkPending)
        return; // one read answers every request made before it
    m_checkPending = true;
    QTimer::singleShot(0, this, &PrinterLatestVersions::finishCheck);
}

void PrinterLatestVersions::finishCheck()
{
    m_checkPending = false;
    QHash<int, Versions> versions;
    const QString path = manifestFile();
    QFile file(path);
    if (!path.isEmpty() && file.open(QIODevice::ReadOnly)) {
        if (file.size() > MAX_FILE_SIZE) {
            KX_DEBUG(lcSuitePrinting, "Firmware manifest %s is too large; ignored.",
                     qUtf8Printable(path));
        } else {
            QJsonParseError error{};
            const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
            if (error.error != QJsonParseError::NoError)
                KX_DEBUG(lcSuitePrinting, "Firmware manifest %s is not valid: %s",
                         qUtf8Printable(path), qUtf8Printable(error.errorString()));
            const QJsonArray types = document.object().value(u"printerTypes").toArray();
            for (const QJsonValue &value : types) {
                const QJsonObject entry = value.toObject();
                const int type = entry.value(u"type").toInt(0);
                if (type <= 0)
                    continue;
                versions.insert(type, { entry.value(u"latestVersion").toString(),
                                        entry.value(u"preReleaseVersion").toString() });
            }
        }
    }
    m_versions = versions;
    Q_EMIT checkingForUpdates(-1, false);
}
