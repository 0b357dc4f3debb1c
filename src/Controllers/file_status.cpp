#include "Controllers/file_status.h"

#include <QFileInfo>

FileStatus FileStatus::fromFileInfo(const QFileInfo &info)
{
    FileStatus status;
    status.isFile = info.isFile();
    if (!status.isFile)
        return status;
    status.isReadable = info.isReadable();
    status.isWritable = info.isWritable();
    status.birthTime = info.birthTime().toUTC();
    status.lastModified = info.lastModified().toUTC();
    return status;
}
