#include "Controllers/local_times.h"

namespace {

constexpr qint64 MSECS_PER_DAY = 24 * 3600 * 1000;
constexpr qint64 EPOCH_JULIAN_DAY = 2440588; // 1970-01-01

qint64 floorDiv(qint64 a, qint64 b)
{
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)) ? 1 : 0);
}

// A wall-clock time as milliseconds of a clock that runs on UTC.
qint64 wallMSecs(QDate date, QTime time)
{
    return (date.toJulianDay() - EPOCH_JULIAN_DAY) * MSECS_PER_DAY + time.msecsSinceStartOfDay();
}

} // namespace

qint64 LocalTimes::offsetAtStart(qint64 day)
{
    const auto cached = m_startOffsets.constFind(day);
    if (cached != m_startOffsets.cend())
        return *cached;
    const qint64 instant = day * MSECS_PER_DAY;
    const QDateTime local = QDateTime::fromMSecsSinceEpoch(instant, Qt::LocalTime);
    const qint64 offset = local.isValid() ? wallMSecs(local.date(), local.time()) - instant
                                          : qint64(NO_OFFSET);
    m_startOffsets.insert(day, offset);
    return offset;
}

int LocalTimes::dayOffset(qint64 day)
{
    const auto cached = m_dayOffsets.constFind(day);
    if (cached != m_dayOffsets.cend())
        return *cached;

    // Offsets at the start of the day and of the next one, each shared by two days; offsets
    // change at most once between them, so equal ends mean one offset for the whole day (a
    // change at the next midnight itself makes them differ, and the day is left to QDateTime).
    const qint64 first = offsetAtStart(day);
    const qint64 next = offsetAtStart(day + 1);
    const int offset = first == next && first != qint64(NO_OFFSET) && qAbs(first) < MSECS_PER_DAY
            ? int(first) : NO_OFFSET;
    m_dayOffsets.insert(day, offset);
    return offset;
}

bool LocalTimes::toInstant(QDate date, QTime time, qint64 *msecsSinceEpoch)
{
    if (!date.isValid() || !time.isValid())
        return false;
    const qint64 wall = wallMSecs(date, time);
    // The instant lies within a day of the wall-clock time read as UTC. With one offset for
    // two days on either side, it is the only instant that shows this wall-clock time.
    const qint64 day = floorDiv(wall, MSECS_PER_DAY);
    const int offset = dayOffset(day);
    if (offset == NO_OFFSET)
        return false;
    for (qint64 near = day - 2; near <= day + 2; ++near) {
        if (near != day && dayOffset(near) != offset)
            return false;
    }
    *msecsSinceEpoch = wall - offset;
    return true;
}

qint64 LocalTimes::toInstant(const QDateTime &local)
{
    qint64 instant = 0;
    if (local.timeSpec() == Qt::LocalTime && toInstant(local.date(), local.time(), &instant))
        return instant;
    return local.toMSecsSinceEpoch();
}

QDate LocalTimes::localDate(qint64 msecsSinceEpoch)
{
    const int offset = dayOffset(floorDiv(msecsSinceEpoch, MSECS_PER_DAY));
    if (offset == NO_OFFSET)
        return QDateTime::fromMSecsSinceEpoch(msecsSinceEpoch, Qt::LocalTime).date();
    return QDate::fromJulianDay(EPOCH_JULIAN_DAY + floorDiv(msecsSinceEpoch + offset, MSECS_PER_DAY));
}
