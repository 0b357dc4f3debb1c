#include "analytics/analytics_library.h"

#include "common/suite_store.h"
#include "logging/cute_logger.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSettings>
#include <QStandardPaths>

Q_LOGGING_CATEGORY(lcSuiteAnalytics, "korvex.suite.analytics")

AnalyticsLibrary::AnalyticsLibrary(QObject *parent) : QObject(parent) { }

AnalyticsLibrary *AnalyticsLibrary::instance()
{
    static AnalyticsLibrary library;
    return &library;
}

QString AnalyticsLibrary::hitFilePath()
{
    const QString configured = SuiteStore::openDashboardStore()->value(QStringLiteral("analytics/hitFile")).toString();
    if (!configured.isEmpty())
        return configured;
    // Organisation and application folders are spelled out, so the file does not move with
    // the host's own application name.
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
            + QStringLiteral("/Quorvane Inc/KorvexPro/analytics-hits.jsonl");
}

QByteArray AnalyticsLibrary::formatHitLine(AnalyticHitType type, const QJsonObject &hit,
                                           const QString &timestamp)
{
    // Written by hand so the envelope keeps its reading order: type, timestamp, hit.
    QByteArray line = "{\"type\":" + QByteArray::number(int(type)) + ",\"timestamp\":";
    const QJsonObject stamp { { QStringLiteral("t"), timestamp } };
    QByteArray stampJson = QJsonDocument(stamp).toJson(QJsonDocument::Compact);
    // {"t":"..."} -> "..."
    line += stampJson.mid(5, stampJson.size() - 6);
    line += ",\"hit\":" + QJsonDocument(hit).toJson(QJsonDocument::Compact) + '}';
    return line;
}

bool AnalyticsLibrary::sendAnalyticHit(AnalyticHitType type, const QJsonObject &hit)
{
    if (!SuiteStore::openDashboardStore()->value(QStringLiteral("sendAnalytics"), true).toBool())
        return false;

    const QString timestamp = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    const QString path = hitFilePath();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    bool written = false;
    if (file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        const QByteArray line = formatHitLine(type, hit, timestamp) + '\n';
        written = file.write(line) == line.size();
    }
    if (!written)
        KX_DEBUG(lcSuiteAnalytics, "Analytics hit not recorded in %s: %s", qUtf8Printable(path),
                 qUtf8Printable(file.errorString()));
    Q_EMIT instance()->analyticHitSent(type, hit);
    return written;
}
