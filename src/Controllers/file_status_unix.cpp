#include "Controllers/file_status.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

#if defined(STATX_BTIME)
// As QFileInfo reads a statx time: whole milliseconds.
qint64 toMSecs(const struct statx_timestamp &t)
{
    return qint64(t.tv_sec) * 1000 + qint64(t.tv_nsec) / 1000000;
}
#endif

} // namespace

FileStatus FileStatus::of(const QString &path)
{
#if defined(STATX_BTIME)
    FileStatus status;
    // A name with a NUL in it names no file (QFileInfo refuses it too).
    if (path.isEmpty() || path.contains(QChar(0)))
        return status;
    const QByteArray native = QFile::encodeName(path);
    struct statx buffer;
    // The flags and the mask QFileInfo uses, so a birth time is there exactly when it gives one.
    if (statx(AT_FDCWD, native.constData(), AT_STATX_SYNC_AS_STAT | AT_NO_AUTOMOUNT, STATX_ALL, &buffer) != 0) {
        if (errno != ENOSYS)
            return status;
        // A kernel without statx: QFileInfo answers with stat, and so does it here.
        return fromFileInfo(QFileInfo(path));
    }
    status.isFile = S_ISREG(buffer.stx_mode);
    if (!status.isFile)
        return status;
    // One access() answers both questions for the usual file the user may read and write.
    if (::access(native.constData(), R_OK | W_OK) == 0) {
        status.isReadable = status.isWritable = true;
    } else {
        status.isReadable = ::access(native.constData(), R_OK) == 0;
        status.isWritable = ::access(native.constData(), W_OK) == 0;
    }
    const qint64 birth = (buffer.stx_mask & STATX_BTIME) ? toMSecs(buffer.stx_btime) : 0;
    if (birth != 0)
        status.birthTime = QDateTime::fromMSecsSinceEpoch(birth, Qt::UTC);
    const qint64 modified = toMSecs(buffer.stx_mtime);
    if (modified != 0)
        status.lastModified = QDateTime::fromMSecsSinceEpoch(modified, Qt::UTC);
    return status;
#else
    return fromFileInfo(QFileInfo(path));
#endif
}
