#pragma once

#include <QDateTime>
#include <QString>

class QFileInfo;

// What the Recently viewed list asks of each path in the histories, with as few system calls
// as the platform allows: QFileInfo answers it with a stat and an access() per question, and
// hands its times over in local time, a time-zone look-up each.
struct FileStatus
{
    bool isFile = false; // exists and is a regular file, links followed (QFileInfo::isFile)
    bool isReadable = false;
    bool isWritable = false;
    // QFileInfo::birthTime and lastModified, in UTC: invalid where the file system keeps no
    // such time.
    QDateTime birthTime;
    QDateTime lastModified;

    static FileStatus of(const QString &path);
    // The same answers from QFileInfo, where the system offers nothing quicker.
    static FileStatus fromFileInfo(const QFileInfo &info);
};
