#pragma once

// Runs a test row in a given time zone: sets the C library's zone, which QDateTime's local
// time follows, and restores the process's own zone on exit.

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QList>
#include <QTime>
#include <QtGlobal>

#include <ctime>

namespace FilesTest {

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
    ZoneScope(const ZoneScope &) = delete;
    ZoneScope &operator=(const ZoneScope &) = delete;

private:
    bool m_had;
    QByteArray m_old;
};

// The zones the history and date tests run in: no summer time, and summer time in the north
// and in the south (Lord Howe's is half an hour).
#define KORVEX_ZONE_ROWS(year)                                                                  \
    QTest::newRow("UTC") << QByteArray("UTC") << (year);                                       \
    QTest::newRow("Europe/Berlin") << QByteArray("Europe/Berlin") << (year);                   \
    QTest::newRow("America/New_York") << QByteArray("America/New_York") << (year);             \
    QTest::newRow("Australia/Sydney") << QByteArray("Australia/Sydney") << (year);             \
    QTest::newRow("Australia/Lord_Howe") << QByteArray("Australia/Lord_Howe") << (year)

// The local midnights of a year after which the offset from UTC is different a day later:
// the days around which wall-clock times repeat or are skipped.
inline QList<QDate> offsetChangeDays(int year)
{
    QList<QDate> days;
    for (QDate day(year, 1, 1); day.year() == year; day = day.addDays(1)) {
        const QDateTime start(day, QTime(12, 0));
        if (start.offsetFromUtc() != start.addDays(1).offsetFromUtc())
            days.append(day.addDays(1));
    }
    return days;
}

// Converts a local time of the other half of the year, so that the C library's conversion
// of a repeated hour next would lean the other way (it starts from the offset it last used).
inline void convertLocalTime(QDate day)
{
    (void)QDateTime(day, QTime(12, 0)).toMSecsSinceEpoch();
}

} // namespace FilesTest
