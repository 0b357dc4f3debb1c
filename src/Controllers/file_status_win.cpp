#include "Controllers/file_status.h"

#include <QFileInfo>

FileStatus FileStatus::of(const QString &path)
{
    return fromFileInfo(QFileInfo(path));
}

void FileStatus::splitPath(const QString &path, QString *folder, QString *name)
{
    const QFileInfo info(path);
    *folder = info.absolutePath();
    *name = info.fileName();
}

struct FileStatusReader::Private
{
};

FileStatusReader::FileStatusReader() = default;
FileStatusReader::~FileStatusReader() = default;

FileStatus FileStatusReader::of(const QString &path) const
{
    return FileStatus::of(path);
}
