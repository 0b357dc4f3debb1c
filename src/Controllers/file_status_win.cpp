#include "Controllers/file_status.h"

#include <QFileInfo>

FileStatus FileStatus::of(const QString &path)
{
    return fromFileInfo(QFileInfo(path));
}
