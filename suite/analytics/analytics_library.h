#pragma once

#include "korvexsuite_export.h"

#include <QJsonObject>
#include <QObject>
#include <QString>

// The suite's analytics sink. A hit is appended as one JSON line to a file in the user's
// application data folder and announced in-process, so a host (or a test) can watch hits
// without reading the file. Nothing is recorded while the user has turned analytics off.
class KORVEXSUITE_EXPORT AnalyticsLibrary : public QObject
{
    Q_OBJECT

public:
    enum AnalyticHitType {
        HIT_SCREEN_VIEW = 0,
        HIT_APPLICATION_START = 1,
        HIT_APPLICATION_CLOSE = 2,
        HIT_CONTENT_OPEN = 3,
        HIT_PRINT = 4,
        HIT_EXCEPTION = 5,
        HIT_SETTING_CHANGE = 6,
    };
    Q_ENUM(AnalyticHitType)

    // Records one hit. Returns false when nothing was recorded (analytics off, or the file
    // cannot be written; the hit is still announced in the second case).
    static bool sendAnalyticHit(AnalyticHitType type, const QJsonObject &hit);

    // The object that announces hits through analyticHitSent.
    static AnalyticsLibrary *instance();

    // File the hits are appended to: the "analytics/hitFile" value of the dashboard store when
    // set, otherwise "analytics-hits.jsonl" in the user's application data folder.
    static QString hitFilePath();

    // The exact line written for a hit, without the trailing newline.
    static QByteArray formatHitLine(AnalyticHitType type, const QJsonObject &hit,
                                    const QString &timestamp);

Q_SIGNALS:
    void analyticHitSent(AnalyticsLibrary::AnalyticHitType type, const QJsonObject &hit);

private:
    explicit AnalyticsLibrary(QObject *parent = nullptr);
};
