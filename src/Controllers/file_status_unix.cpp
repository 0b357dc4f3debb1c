#include "Controllers/file_status.h"

#include <QFile>
#include <QFileInfo>
#include <QList>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#if defined(Q_OS_LINUX)
#include <sys/sysmacros.h>
#endif

namespace {

#if defined(STATX_BTIME)
// As QFileInfo reads a statx time: whole milliseconds.
qint64 toMSecs(const struct statx_timestamp &t)
{
    return qint64(t.tv_sec) * 1000 + qint64(t.tv_nsec) / 1000000;
}

// When the kernel's answer to access(R_OK | W_OK) is known without asking: see
// FileStatusReader. Null for FileStatus::of, which always asks.
struct OwnerRule
{
    const QSet<quint64> *plainDevices;
    uid_t user; // the real user, whom access() checks
    uid_t unmappedUser; // what statx reports for an owner outside the user namespace
};

// A file of the real user, with read and write for its owner, on a plain device, not
// immutable: the generic check gives the owner exactly the owner's bits, and nothing else
// refuses.
bool ownerMayReadAndWrite(const struct statx &buffer, const OwnerRule &rule)
{
    constexpr mode_t READ_WRITE = S_IRUSR | S_IWUSR;
    return buffer.stx_uid == rule.user && buffer.stx_uid != rule.unmappedUser
            && (buffer.stx_mode & READ_WRITE) == READ_WRITE
            && (buffer.stx_attributes_mask & STATX_ATTR_IMMUTABLE) != 0
            && (buffer.stx_attributes & STATX_ATTR_IMMUTABLE) == 0
            && rule.plainDevices->contains(makedev(buffer.stx_dev_major, buffer.stx_dev_minor));
}

FileStatus statusOf(const QString &path, const OwnerRule *rule)
{
    FileStatus status;
    // A name with a NUL in it names no file (QFileInfo refuses it too); the encoding keeps a
    // NUL as a zero byte.
    const QByteArray native = QFile::encodeName(path);
    if (native.isEmpty() || std::memchr(native.constData(), 0, size_t(native.size())))
        return status;
    struct statx buffer;
    // The flags and the mask QFileInfo uses, so a birth time is there exactly when it gives one.
    if (statx(AT_FDCWD, native.constData(), AT_STATX_SYNC_AS_STAT | AT_NO_AUTOMOUNT, STATX_ALL, &buffer) != 0) {
        if (errno != ENOSYS)
            return status;
        // A kernel without statx: QFileInfo answers with stat, and so does it here.
        return FileStatus::fromFileInfo(QFileInfo(path));
    }
    status.isFile = S_ISREG(buffer.stx_mode);
    if (!status.isFile)
        return status;
    if (rule && ownerMayReadAndWrite(buffer, *rule)) {
        status.isReadable = status.isWritable = true;
    } else if (::access(native.constData(), R_OK | W_OK) == 0) {
        // One access() answers both questions for the usual file the user may read and write.
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
}

QByteArray readSystemFile(const char *name, bool *ok)
{
    QFile file(QString::fromLatin1(name));
    *ok = file.open(QIODevice::ReadOnly);
    return *ok ? file.readAll() : QByteArray();
}

// Whether no security module that labels files may refuse an access() the permission bits
// allow. The list of active modules is read where the system shows it; elsewhere (a
// container without securityfs) the file systems of those modules give them away.
bool noLabellingSecurityModule()
{
    bool ok = false;
    const QByteArray modules = readSystemFile("/sys/kernel/security/lsm", &ok);
    if (ok) {
        for (const QByteArray &name : modules.trimmed().split(',')) {
            if (name == "selinux" || name == "smack" || name == "bpf")
                return false;
        }
        return true;
    }
    return !QFileInfo::exists(QStringLiteral("/sys/fs/selinux"))
            && !QFileInfo::exists(QStringLiteral("/sys/fs/smackfs"));
}

#endif

#if defined(Q_OS_LINUX)
bool hasOption(QByteArrayView options, QByteArrayView option)
{
    for (qsizetype from = 0; from <= options.size();) {
        qsizetype end = options.indexOf(',', from);
        if (end < 0)
            end = options.size();
        if (options.sliced(from, end - from) == option)
            return true;
        from = end + 1;
    }
    return false;
}
#endif

} // namespace

FileStatus FileStatus::of(const QString &path)
{
#if defined(STATX_BTIME)
    return statusOf(path, nullptr);
#else
    return fromFileInfo(QFileInfo(path));
#endif
}

void FileStatus::splitPath(const QString &path, QString *folder, QString *name)
{
    // An absolute path without "//", "." or ".." parts and without a trailing "/" is what
    // QFileInfo keeps as it is; it then splits it at the last "/". Anything else (a "/."
    // anywhere, even of a hidden name) is left to QFileInfo.
    const qsizetype size = path.size();
    bool plain = size > 1 && path.front() == u'/' && path.back() != u'/';
    qsizetype last = 0;
    for (qsizetype i = 0; plain && i < size; ++i) {
        if (path.at(i) != u'/')
            continue;
        last = i;
        const QChar next = path.at(i + 1); // i < size - 1: the path does not end in "/"
        plain = next != u'/' && next != u'.';
    }
    if (!plain) {
        const QFileInfo info(path);
        *folder = info.absolutePath();
        *name = info.fileName();
        return;
    }
    *folder = last == 0 ? QStringLiteral("/") : path.left(last);
    *name = path.mid(last + 1);
}

struct FileStatusReader::Private
{
#if defined(STATX_BTIME)
    QSet<quint64> plainDevices;
    std::unique_ptr<OwnerRule> rule;
#endif
};

FileStatusReader::FileStatusReader() : d(std::make_unique<Private>())
{
#if defined(STATX_BTIME)
    if (!noLabellingSecurityModule())
        return;
    bool ok = false;
    const QByteArray mounts = readSystemFile("/proc/self/mountinfo", &ok);
    if (!ok)
        return;
    d->plainDevices = plainDevices(mounts);
    const QByteArray overflow = readSystemFile("/proc/sys/kernel/overflowuid", &ok).trimmed();
    const uint unmapped = ok ? overflow.toUInt(&ok) : 0;
    d->rule = std::make_unique<OwnerRule>(
            OwnerRule{ &d->plainDevices, ::getuid(), uid_t(ok ? unmapped : 65534) });
#endif
}

FileStatusReader::~FileStatusReader() = default;

FileStatus FileStatusReader::of(const QString &path) const
{
#if defined(STATX_BTIME)
    return statusOf(path, d->rule.get());
#else
    return FileStatus::of(path);
#endif
}

#if defined(Q_OS_LINUX)
QSet<quint64> FileStatusReader::plainDevices(QByteArrayView mountInfo)
{
    // "36 35 98:0 /root /mount rw,noatime shared:1 - ext4 /dev/sda1 rw,errors=continue":
    // mount options before the "-", then the file system type, its source and its own
    // options. A device mounted twice counts only when every mount of it qualifies.
    QSet<quint64> plain;
    QSet<quint64> refused;
    for (const QByteArray &line : mountInfo.toByteArray().split('\n')) {
        if (line.trimmed().isEmpty())
            continue;
        const QList<QByteArray> fields = line.split(' ');
        const qsizetype separator = fields.indexOf(QByteArray("-"));
        const QList<QByteArray> device = fields.size() > 2 ? fields.at(2).split(':') : QList<QByteArray>();
        bool majorOk = false;
        bool minorOk = false;
        const uint major = device.size() == 2 ? device.at(0).toUInt(&majorOk) : 0;
        const uint minor = device.size() == 2 ? device.at(1).toUInt(&minorOk) : 0;
        // A table not understood at all says nothing about any device.
        if (separator < 6 || fields.size() < separator + 4 || !majorOk || !minorOk)
            return QSet<quint64>();
        const QByteArray &type = fields.at(separator + 1);
        const bool generic = type == "ext2" || type == "ext3" || type == "ext4" || type == "xfs"
                || type == "tmpfs";
        const bool ok = generic && hasOption(fields.at(5), "rw")
                && !hasOption(fields.at(5), "idmapped") && hasOption(fields.at(separator + 3), "rw");
        (ok ? plain : refused).insert(quint64(makedev(major, minor)));
    }
    return plain - refused;
}
#endif
