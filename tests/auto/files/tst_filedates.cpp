// The file lists' own conversions of local times and their own file status, each against the
// QDateTime and QFileInfo answers they stand in for.
#include "Controllers/file_status.h"
#include "Controllers/local_times.h"
#include "zone_scope.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <ctime>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif
#ifdef Q_OS_LINUX
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/sysmacros.h>
#endif

using FilesTest::ZoneScope;

class tst_FileDates : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void localTimesMatchQDateTime_data();
    void localTimesMatchQDateTime();
    void timeInAGapIsLeftToQDateTime();
    void repeatedHourIsLeftToQDateTime_data();
    void repeatedHourIsLeftToQDateTime();
    void fileStatusMatchesQFileInfo_data();
    void fileStatusMatchesQFileInfo();
    void splitPathMatchesQFileInfo_data();
    void splitPathMatchesQFileInfo();
#if defined(Q_OS_LINUX)
    void immutableFileIsNotWritable();
    void plainDevices_data();
    void plainDevices();
#endif
};

void tst_FileDates::localTimesMatchQDateTime_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<int>("year");
    QTest::newRow("UTC") << QByteArray("UTC") << 2024;
    QTest::newRow("Berlin") << QByteArray("Europe/Berlin") << 2024;
    QTest::newRow("New York") << QByteArray("America/New_York") << 2024;
    QTest::newRow("Sydney") << QByteArray("Australia/Sydney") << 2024;
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

void tst_FileDates::repeatedHourIsLeftToQDateTime_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<int>("year");
    KORVEX_ZONE_ROWS(2024);
}

void tst_FileDates::repeatedHourIsLeftToQDateTime()
{
    QFETCH(QByteArray, zone);
    QFETCH(int, year);
    const ZoneScope scope(zone);
    const QString format = QStringLiteral("yyyy:MM:dd:hh:mm:ss:zzz");
    // Around each change of offset, whatever was converted before: a wall-clock time is
    // given an instant only where it has exactly one, and a parsed date-time keeps the instant
    // the parser gave it.
    for (const QDate &change : FilesTest::offsetChangeDays(year)) {
        for (const QDate &before : { QDate(year, 1, 15), QDate(year, 7, 15) }) {
            LocalTimes times;
            const QDateTime midnight(change, QTime(0, 0), Qt::UTC);
            for (int minute = -24 * 60; minute < 48 * 60; minute += 10) {
                const QDateTime wall = midnight.addSecs(minute * 60);
                const QString text = wall.toString(format);
                FilesTest::convertLocalTime(before);
                const QDateTime parsed = QDateTime::fromString(text, format);
                qint64 instant = 0;
                if (times.toInstant(wall.date(), wall.time(), &instant)) {
                    QVERIFY2(parsed.isValid(), qPrintable(text));
                    QCOMPARE(instant, parsed.toMSecsSinceEpoch());
                    // The only instant with this wall-clock time.
                    const QDateTime back = QDateTime::fromMSecsSinceEpoch(instant, Qt::LocalTime);
                    QCOMPARE(back.date(), wall.date());
                    QCOMPARE(back.time(), wall.time());
                    QVERIFY(QDateTime::fromMSecsSinceEpoch(instant - 3600 * 1000, Qt::LocalTime).time() != wall.time());
                    QVERIFY(QDateTime::fromMSecsSinceEpoch(instant + 3600 * 1000, Qt::LocalTime).time() != wall.time());
                    QVERIFY(QDateTime::fromMSecsSinceEpoch(instant - 1800 * 1000, Qt::LocalTime).time() != wall.time());
                    QVERIFY(QDateTime::fromMSecsSinceEpoch(instant + 1800 * 1000, Qt::LocalTime).time() != wall.time());
                }
                if (parsed.isValid()) {
                    FilesTest::convertLocalTime(before);
                    QCOMPARE(times.toInstant(parsed), QDateTime::fromString(text, format).toMSecsSinceEpoch());
                }
            }
        }
    }
}

void tst_FileDates::fileStatusMatchesQFileInfo_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isFile");
    QTest::newRow("file") << "plan.kxld" << true;
    QTest::newRow("file changed at the epoch") << "epoch.kxld" << true;
    QTest::newRow("read-only file") << "readonly.kxld" << true;
    QTest::newRow("write-only file") << "writeonly.kxld" << true;
    QTest::newRow("file without permissions") << "none.kxld" << true;
    QTest::newRow("file for the group and others only") << "others.kxld" << true;
    QTest::newRow("folder") << "folder" << false;
    QTest::newRow("missing") << "missing.kxld" << false;
    QTest::newRow("file in a folder") << "folder/inner.kxld" << true;
    QTest::newRow("through the parent folder") << "folder/../plan.kxld" << true;
    QTest::newRow("doubled separators") << "folder//inner.kxld" << true;
    QTest::newRow("file as a folder") << "plan.kxld/x.kxld" << false;
#ifdef Q_OS_UNIX
    QTest::newRow("link to a file") << "link.kxld" << true;
    QTest::newRow("dangling link") << "dangling.kxld" << false;
    QTest::newRow("file of another user") << "foreign.kxld" << true;
#endif
    QTest::newRow("NUL in the name") << QStringLiteral("plan.kxld") + QChar(0) + "x" << false;
}

void tst_FileDates::fileStatusMatchesQFileInfo()
{
    QFETCH(QString, name);
    QFETCH(bool, isFile);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QVERIFY(QDir(dir.path()).mkdir("folder"));
    const std::pair<const char *, QFile::Permissions> files[] = {
        { "plan.kxld", QFile::ReadOwner | QFile::WriteOwner },
        { "epoch.kxld", QFile::ReadOwner | QFile::WriteOwner },
        { "readonly.kxld", QFile::ReadOwner },
        { "writeonly.kxld", QFile::WriteOwner },
        { "none.kxld", {} },
        { "others.kxld", QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther },
        { "folder/inner.kxld", QFile::ReadOwner | QFile::WriteOwner },
        { "foreign.kxld", QFile::ReadOwner | QFile::WriteOwner },
    };
    for (const auto &[file, permissions] : files) {
        QFile f(dir.filePath(QLatin1String(file)));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("L");
        f.close();
        QVERIFY(f.setPermissions(permissions));
    }
    {
        QFile epoch(dir.filePath("epoch.kxld"));
        QVERIFY(epoch.open(QIODevice::ReadWrite));
        QVERIFY(epoch.setFileTime(QDateTime::fromMSecsSinceEpoch(0, Qt::UTC), QFile::FileModificationTime));
    }
#ifdef Q_OS_UNIX
    QVERIFY(QFile::link(dir.filePath("plan.kxld"), dir.filePath("link.kxld")));
    QVERIFY(QFile::link(dir.filePath("gone.kxld"), dir.filePath("dangling.kxld")));
    // Only root can give a file away; anyone else compares a file of their own once more.
    if (::geteuid() == 0)
        QCOMPARE(::chown(QFile::encodeName(dir.filePath("foreign.kxld")).constData(), 65533, 65533), 0);
#endif

    const QString path = dir.path() + QLatin1Char('/') + name;
    const QFileInfo info(path);
    const FileStatusReader reader;
    for (const FileStatus &status : { FileStatus::of(path), reader.of(path) }) {
        QCOMPARE(status.isFile, isFile);
        QCOMPARE(status.isFile, info.isFile());
        if (!isFile)
            continue;
        QCOMPARE(status.isReadable, info.isReadable());
        QCOMPARE(status.isWritable, info.isWritable());
        QCOMPARE(status.birthTime.isValid(), info.birthTime().isValid());
        QCOMPARE(status.birthTime, info.birthTime().toUTC());
        QCOMPARE(status.lastModified.isValid(), info.lastModified().isValid());
        QCOMPARE(status.lastModified, info.lastModified().toUTC());
        if (status.lastModified.isValid())
            QCOMPARE(status.lastModified.timeSpec(), Qt::UTC);
    }
}

void tst_FileDates::splitPathMatchesQFileInfo_data()
{
    QTest::addColumn<QString>("path");
    for (const char *path : { "/home/u/labels/plan.kxld", "/plan.kxld", "/", "/home/u/labels/",
                              "/home//u/plan.kxld", "//home/u/plan.kxld", "/home/./u/plan.kxld",
                              "/home/u/../plan.kxld", "/home/u/.hidden.kxld", "/home/u/..plan.kxld",
                              "/home/u/plan.", "/home/u/.", "/home/u/..", "/home/u/plan.kxld/",
                              "relative/plan.kxld", "plan.kxld", "./plan.kxld", "../plan.kxld",
                              "/home/u/back\\slash.kxld", "C:/Users/u/plan.kxld", "/a/b", "/a" })
        QTest::newRow(path) << QString::fromUtf8(path);
    QTest::newRow("non-ASCII") << QStringLiteral("/home/ü/ラベル €.kxld");
    QTest::newRow("empty") << QString();
}

void tst_FileDates::splitPathMatchesQFileInfo()
{
    QFETCH(QString, path);
    QString folder = QStringLiteral("stale");
    QString name = QStringLiteral("stale");
    FileStatus::splitPath(path, &folder, &name);
    const QFileInfo info(path);
    QCOMPARE(folder, info.absolutePath());
    QCOMPARE(name, info.fileName());
}

#if defined(Q_OS_LINUX)
void tst_FileDates::immutableFileIsNotWritable()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath("locked.kxld");
    {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("L");
    }
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    QVERIFY(fd >= 0);
    const auto setImmutable = [fd](bool on) {
        int flags = 0;
        if (::ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0)
            return false;
        flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
        return ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    };
    const bool locked = setImmutable(true);
    // The flag must come off again, or the folder cannot be removed.
    const auto unlock = qScopeGuard([&] {
        if (locked)
            setImmutable(false);
        ::close(fd);
    });
    if (!locked)
        QSKIP("Setting the immutable flag needs CAP_LINUX_IMMUTABLE and a file system that keeps it");

    const QFileInfo info(path);
    QVERIFY(info.isReadable());
    QVERIFY(!info.isWritable());
    const FileStatusReader reader;
    const FileStatus status = reader.of(path);
    QVERIFY(status.isFile);
    QVERIFY(status.isReadable);
    QVERIFY(!status.isWritable);
}

void tst_FileDates::plainDevices_data()
{
    QTest::addColumn<QByteArray>("mountInfo");
    QTest::addColumn<QList<quint64>>("expected");
    const auto dev = [](uint major, uint minor) { return quint64(makedev(major, minor)); };
    const QByteArray root = "26 1 254:0 / / rw,relatime - ext4 /dev/vda rw,discard\n";
    QTest::newRow("ext4 read-write") << root << QList<quint64>{ dev(254, 0) };
    QTest::newRow("xfs, tmpfs and proc")
            << QByteArray("1 0 8:1 / / rw - xfs /dev/sda1 rw\n"
                          "2 1 0:22 / /tmp rw,nosuid shared:5 - tmpfs tmpfs rw,size=10k\n"
                          "3 1 0:20 / /proc rw,relatime - proc proc rw\n")
            << QList<quint64>{ dev(8, 1), dev(0, 22) };
    QTest::newRow("read-only mount")
            << QByteArray("1 0 8:1 / / ro,relatime - ext4 /dev/sda1 rw\n") << QList<quint64>();
    QTest::newRow("read-only file system")
            << QByteArray("1 0 8:1 / / rw,relatime - ext4 /dev/sda1 ro,errors=remount-ro\n") << QList<quint64>();
    QTest::newRow("read-only bind mount of a read-write device")
            << root + "40 26 254:0 /srv /mnt/srv ro,relatime master:3 - ext4 /dev/vda rw\n"
            << QList<quint64>();
    QTest::newRow("id-mapped mount")
            << QByteArray("1 0 8:1 / / rw,idmapped - ext4 /dev/sda1 rw\n") << QList<quint64>();
    QTest::newRow("network, user-space and layered file systems")
            << QByteArray("1 0 0:50 / /home rw - nfs4 srv:/home rw\n"
                          "2 0 0:51 / /media rw - fuse.sshfs u@h: rw\n"
                          "3 0 0:52 / / rw - overlay overlay rw\n"
                          "4 0 0:53 / /data rw - btrfs /dev/sdb rw\n")
            << QList<quint64>();
    QTest::newRow("option names only as whole words")
            << QByteArray("1 0 8:1 / / rwx,relatime - ext4 /dev/sda1 rw\n") << QList<quint64>();
    QTest::newRow("empty") << QByteArray() << QList<quint64>();
    QTest::newRow("a line not understood spoils the table")
            << root + "garbage\n" << QList<quint64>();
    QTest::newRow("device not a number") << QByteArray("1 0 x:1 / / rw - ext4 /dev/sda1 rw\n") << QList<quint64>();
}

void tst_FileDates::plainDevices()
{
    QFETCH(QByteArray, mountInfo);
    QFETCH(QList<quint64>, expected);
    QList<quint64> devices = FileStatusReader::plainDevices(mountInfo).values();
    std::sort(devices.begin(), devices.end());
    std::sort(expected.begin(), expected.end());
    QCOMPARE(devices, expected);
}
#endif

QTEST_GUILESS_MAIN(tst_FileDates)
#include "tst_filedates.moc"
