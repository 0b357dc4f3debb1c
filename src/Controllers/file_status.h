#pragma once

#include <QByteArrayView>
#include <QDateTime>
#include <QSet>
#include <QString>

#include <memory>

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
    // QFileInfo(path).absolutePath() and fileName(), without building a QFileInfo for the
    // usual clean absolute path.
    static void splitPath(const QString &path, QString *folder, QString *name);
    // The same answers from QFileInfo, where the system offers nothing quicker.
    static FileStatus fromFileInfo(const QFileInfo &info);
};

// FileStatus::of for the thousands of paths of one list, with the same answers. On Linux the
// user's own files on local disks are answered from one statx each: for the owner of a file
// the kernel decides access() from the owner's permission bits alone, unless the mount is
// read-only, the file is immutable, or the file system or a security module has a say of its
// own; where any of that may be so, access() is asked as before. Made for one list: mounts
// are read again by the next reader.
class FileStatusReader
{
public:
    FileStatusReader();
    ~FileStatusReader();
    FileStatusReader(const FileStatusReader &) = delete;
    FileStatusReader &operator=(const FileStatusReader &) = delete;

    FileStatus of(const QString &path) const;

#if defined(Q_OS_LINUX)
    // The devices (as makedev numbers) of a mount table in the form of /proc/self/mountinfo
    // whose every mount is read-write, not id-mapped, of a file system that leaves
    // permissions to the kernel's generic check (ext2/3/4, XFS, tmpfs).
    static QSet<quint64> plainDevices(QByteArrayView mountInfo);
#endif

private:
    struct Private;
    std::unique_ptr<Private> d;
};
