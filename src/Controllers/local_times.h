#pragma once

#include <QDate>
#include <QDateTime>
#include <QHash>
#include <QTime>

#include <limits>

// Local wall-clock times and instants converted as QDateTime's local time converts them, for
// the thousands of dates one file list holds. Every local-time conversion of QDateTime goes
// through the C library, which looks at the system's time-zone file each time; here the
// offset of a whole UTC day is asked for once, at both ends of the day, and reused for every
// time of that day. Where the two ends differ (a change of offset that day), and near such a
// day for wall-clock times, each conversion is left to QDateTime itself.
//
// Made for one list update: the system's time zone is read again by the next one.
class LocalTimes
{
public:
    // The instant of a local wall-clock time, or false when the offset changes near it (a
    // time in a gap or fold must be decided by QDateTime).
    bool toInstant(QDate date, QTime time, qint64 *msecsSinceEpoch);
    // The instant of a local date-time, as QDateTime::toMSecsSinceEpoch gives it.
    qint64 toInstant(const QDateTime &local);
    // The local calendar date of an instant.
    QDate localDate(qint64 msecsSinceEpoch);

private:
    static constexpr int NO_OFFSET = std::numeric_limits<int>::min();
    // The offset from UTC in milliseconds over the whole UTC day, or NO_OFFSET when it
    // changes within it.
    int dayOffset(qint64 day);
    // The offset at the first millisecond of a UTC day, or NO_OFFSET.
    qint64 offsetAtStart(qint64 day);

    QHash<qint64, int> m_dayOffsets;
    QHash<qint64, qint64> m_startOffsets;
};
