#include "analytics/analytics_library.h"

#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

class tst_AnalyticsLibrary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void defaultFileInApplicationData();
    void appendsOneLinePerHit();
    void lineFormat();
    void consent_data();
    void consent();
    void configuredFile();
    void unwritableFileStillAnnounced();

private:
    static void setValue(const QString &key, const QVariant &value)
    {
        QSettings store(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Quorvane Inc"),
                        QStringLiteral("KorvexPro"));
        store.setValue(key, value);
    }
};

void tst_AnalyticsLibrary::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_AnalyticsLibrary::init()
{
    QSettings store(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Quorvane Inc"),
                    QStringLiteral("KorvexPro"));
    store.clear();
    store.sync();
    QFile::remove(AnalyticsLibrary::hitFilePath());
}

void tst_AnalyticsLibrary::defaultFileInApplicationData()
{
    QCOMPARE(AnalyticsLibrary::hitFilePath(),
             QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
                     + QStringLiteral("/Quorvane Inc/KorvexPro/analytics-hits.jsonl"));
}

void tst_AnalyticsLibrary::appendsOneLinePerHit()
{
    QSignalSpy spy(AnalyticsLibrary::instance(), &AnalyticsLibrary::analyticHitSent);
    const QDateTime before = QDateTime::currentDateTimeUtc().addMSecs(-1);
    QVERIFY(AnalyticsLibrary::sendAnalyticHit(AnalyticsLibrary::HIT_CONTENT_OPEN,
                                              QJsonObject { { "a", 1 } }));
    QVERIFY(AnalyticsLibrary::sendAnalyticHit(AnalyticsLibrary::HIT_SETTING_CHANGE,
                                              QJsonObject { { "b", "two\nlines\"" } }));
    const QDateTime after = QDateTime::currentDateTimeUtc().addMSecs(1);
    QCOMPARE(spy.size(), 2);
    QCOMPARE(spy.at(1).at(1).toJsonObject().value("b").toString(), QStringLiteral("two\nlines\""));

    QFile file(AnalyticsLibrary::hitFilePath());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    QCOMPARE(lines.size(), 3);
    QVERIFY(lines.at(2).isEmpty());
    const QJsonObject first = QJsonDocument::fromJson(lines.at(0)).object();
    QCOMPARE(first.value("type").toInt(), 3);
    QCOMPARE(first.value("hit").toObject(), (QJsonObject { { "a", 1 } }));
    const QDateTime stamp = QDateTime::fromString(first.value("timestamp").toString(), Qt::ISODateWithMs);
    QVERIFY(stamp.isValid());
    QVERIFY(stamp >= before && stamp <= after);
    const QJsonObject second = QJsonDocument::fromJson(lines.at(1)).object();
    QCOMPARE(second.value("type").toInt(), 6);
    QCOMPARE(second.value("hit").toObject().value("b").toString(), QStringLiteral("two\nlines\""));
}

void tst_AnalyticsLibrary::lineFormat()
{
    QCOMPARE(AnalyticsLibrary::formatHitLine(AnalyticsLibrary::HIT_CONTENT_OPEN,
                                             QJsonObject { { "eventType", "Open" } },
                                             QStringLiteral("2026-01-02T03:04:05.006Z")),
             QByteArray(R"({"type":3,"timestamp":"2026-01-02T03:04:05.006Z","hit":{"eventType":"Open"}})"));
    // A hostile timestamp text is escaped, not spliced in.
    QCOMPARE(AnalyticsLibrary::formatHitLine(AnalyticsLibrary::HIT_SETTING_CHANGE, QJsonObject(),
                                             QStringLiteral("\"},\n")),
             QByteArray(R"({"type":6,"timestamp":"\"},\n","hit":{}})"));
}

void tst_AnalyticsLibrary::consent_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<bool>("sent");

    QTest::newRow("unset") << QVariant() << true;
    QTest::newRow("true") << QVariant(true) << true;
    QTest::newRow("false") << QVariant(false) << false;
    QTest::newRow("text false") << QVariant("false") << false;
    QTest::newRow("zero") << QVariant(0) << false;
}

void tst_AnalyticsLibrary::consent()
{
    QFETCH(QVariant, stored);
    QFETCH(bool, sent);
    if (stored.isValid())
        setValue(QStringLiteral("sendAnalytics"), stored);

    QSignalSpy spy(AnalyticsLibrary::instance(), &AnalyticsLibrary::analyticHitSent);
    QCOMPARE(AnalyticsLibrary::sendAnalyticHit(AnalyticsLibrary::HIT_PRINT, QJsonObject { { "x", 1 } }),
             sent);
    QCOMPARE(spy.size(), sent ? 1 : 0);
    QCOMPARE(QFile::exists(AnalyticsLibrary::hitFilePath()), sent);
}

void tst_AnalyticsLibrary::configuredFile()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("sub/hits.jsonl"));
    setValue(QStringLiteral("analytics/hitFile"), path);
    QCOMPARE(AnalyticsLibrary::hitFilePath(), path);
    QVERIFY(AnalyticsLibrary::sendAnalyticHit(AnalyticsLibrary::HIT_SCREEN_VIEW, QJsonObject()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().startsWith("{\"type\":0,"));
}

void tst_AnalyticsLibrary::unwritableFileStillAnnounced()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    // A directory in the file's place cannot be opened for writing, even by root.
    setValue(QStringLiteral("analytics/hitFile"), dir.path());
    QSignalSpy spy(AnalyticsLibrary::instance(), &AnalyticsLibrary::analyticHitSent);
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral("^Analytics hit not recorded in ")));
    QCOMPARE(AnalyticsLibrary::sendAnalyticHit(AnalyticsLibrary::HIT_PRINT, QJsonObject()), false);
    QCOMPARE(spy.size(), 1);
}

QTEST_GUILESS_MAIN(tst_AnalyticsLibrary)
#include "tst_analyticslibrary.moc"
