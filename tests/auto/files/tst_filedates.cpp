// The file lists' own conversions of local times and their own file status, each against the
// QDateTime and QFileInfo answers they stand in for.
#include "Controllers/file_status.h"
#include "Controllers/local_times.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <ctime>

namespace {

// Sets the C library's zone, which QDateTime's local time follows; restores it on exit.
class ZoneScope
{
public:
    explicit ZoneScope(const QByteArray &zone) : m_had(qEnvironmentVariableIsSet("TZ")), m_old(qgetenv("TZ"))
    {
        qputenv("TZ", zone);
        tzset();
    }
    ~ZoneScope()
    {
        if (m_had)
            qputenv("TZ", m_old);
        else
            qunsetenv("TZ");
        tzset();
    }

private:
    bool m_had;
    QByteArray m_old;
};

} // namespace

class tst_FileDates : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void localTimesMatchQDateTime_data();
    void localTimesMatchQDateTime();
    void timeInAGapIsLeftToQDateTime();
    void fileStatusMatchesQFileInfo_data();
    void fileStatusMatchesQFileInfo();
};

void tst_FileDates::localTimesMatchQDateTime_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<int>("year");
    QTest::newRow("UTC") << QByteArray("UTC") << 2024;
    QTest::newRow("Berlin") << QByteArray("Europe/Berlin") << 2024;
    // Half-hour daylight saving.
    QTest::newRow("Lord Howe") << QByteArray("Australia/Lord_Howe") << 2024;
    // Changes at midnight, so the day itself has a gap or a fold.
    QTest::newRow("Sao Paulo") << QByteArray("America/Sao_Paulo") << 2018;
    // A whole calendar day skipped (30 December 2011).
    QTest::newRow("Apia") << QByteArray("Pacific/Apia") << 2011;
    // A POSIX rule rather than a zone file.
    QTest::newRow("POSIX rule") << QByteArray("EST5EDT,M3.2.0,M11.1.0") << 2024;
}

void tst_FileDates::localTimesMatchQDateTime()
{
    QFETCH(QByteArray, zone);
    QFETCH(int, year);
    const ZoneScope scope(zone);
    LocalTimes times;

    // Wall-clock times every 20 minutes (and odd milliseconds) of the year.
    int fast = 0;
    int total = 0;
    for (QDate day(year, 1, 1); day.year() == year; day = day.addDays(1)) {
        for (int minute = 0; minute < 24 * 60; minute += 20) {
            const QTime time = QTime(0, 0).addMSecs(minute * 60000 + 59999 - minute);
            const QDateTime local(day, time);
            ++total;
            qint64 instant = 0;
            if (times.toInstant(day, time, &instant)) {
                ++fast;
                QVERIFY(local.isValid());
                QCOMPARE(instant, local.toMSecsSinceEpoch());
            }
            if (local.isValid())
                QCOMPARE(times.toInstant(local), local.toMSecsSinceEpoch());
        }
    }
    // Offsets change on a few days of a year only: nearly every time takes the short way.
    QVERIFY2(fast > total * 9 / 10, qPrintable(QStringLiteral("%1 of %2").arg(fast).arg(total)));

    // Instants every 37 minutes and 1 ms of the year.
    const qint64 start = QDateTime(QDate(year, 1, 1), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
    const qint64 end = QDateTime(QDate(year + 1, 1, 1), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
    for (qint64 instant = start; instant < end; instant += 37 * 60000 + 1)
        QCOMPARE(times.localDate(instant), QDateTime::fromMSecsSinceEpoch(instant, Qt::LocalTime).date());
    // Before the epoch too.
    QCOMPARE(times.localDate(-1), QDateTime::fromMSecsSinceEpoch(-1, Qt::LocalTime).date());
}

void tst_FileDates::timeInAGapIsLeftToQDateTime()
{
    const ZoneScope scope("Europe/Berlin");
    LocalTimes times;
    qint64 instant = 0;
    // 02:30 on the last Sunday of March does not exist in Berlin; a day later it does.
    QVERIFY(!times.toInstant(QDate(2024, 3, 31), QTime(2, 30), &instant));
    QVERIFY(!times.toInstant(QDate(2024, 4, 1), QTime(2, 30), &instant));
    QVERIFY(times.toInstant(QDate(2024, 4, 5), QTime(2, 30), &instant));
    QCOMPARE(instant, QDateTime(QDate(2024, 4, 5), QTime(0, 30), Qt::UTC).toMSecsSinceEpoch());
}

void tst_FileDates::fileStatusMatchesQFileInfo_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isFile");
    QTest::newRow("file") << "plan.kxld" << true;
    QTest::newRow("file changed at the epoch") << "epoch.kxld" << true;
    QTest::newRow("read-only file") << "readonly.kxld" << true;
    QTest::newRow("folder") << "folder" << false;
    QTest::newRow("missing") << "missing.kxld" << false;
#ifdef Q_OS_UNIX
    QTest::newRow("link to a file") << "link.kxld" << true;
    QTest::newRow("dangling link") << "dangling.kxld" << false;
#endif
    QTest::newRow("NUL in the name") << QStringLiteral("plan.kxld") + QChar(0) + "x" << false;
}

void tst_FileDates::fileStatusMatchesQFileInfo()
{
    QFETCH(QString, name);
    QFETCH(bool, isFile);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    for (const char *file : { "plan.kxld", "epoch.kxld", "readonly.kxld" }) {
        QFile f(dir.filePath(QLatin1String(file)));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("L");
    }
    {
        QFile epoch(dir.filePath("epoch.kxld"));
        QVERIFY(epoch.open(QIODevice::ReadWrite));
        QVERIFY(epoch.setFileTime(QDateTime::fromMSecsSinceEpoch(0, Qt::UTC), QFile::FileModificationTime));
    }
    QVERIFY(QFile::setPermissions(dir.filePath("readonly.kxld"), QFile::ReadOwner));
    QVERIFY(QDir(dir.path()).mkdir("folder"));
#ifdef Q_OS_UNIX
    QVERIFY(QFile::link(dir.filePath("plan.kxld"), dir.filePath("link.kxld")));
    QVERIFY(QFile::link(dir.filePath("gone.kxld"), dir.filePath("dangling.kxld")));
#endif

    const QString path = dir.path() + QLatin1Char('/') + name;
    const FileStatus status = FileStatus::of(path);
    const QFileInfo info(path);
    QCOMPARE(status.isFile, isFile);
    QCOMPARE(status.isFile, info.isFile());
    if (!isFile)
        return;
    QCOMPARE(status.isReadable, info.isReadable());
    QCOMPARE(status.isWritable, info.isWritable());
    QCOMPARE(status.birthTime.isValid(), info.birthTime().isValid());
    QCOMPARE(status.birthTime, info.birthTime().toUTC());
    QCOMPARE(status.lastModified.isValid(), info.lastModified().isValid());
    QCOMPARE(status.lastModified, info.lastModified().toUTC());
    if (status.lastModified.isValid())
        QCOMPARE(status.lastModified.timeSpec(), Qt::UTC);
}

QTEST_GUILESS_MAIN(tst_FileDates)
#include "tst_filedates.moc"
