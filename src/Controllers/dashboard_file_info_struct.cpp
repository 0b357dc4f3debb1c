#include "Controllers/dashboard_file_info_struct.h"

#include <QCoreApplication>

bool DashboardFileInfoStruct::operator==(const DashboardFileInfoStruct &o) const
{
    return labelFileName == o.labelFileName && filePath == o.filePath
            && isWritable == o.isWritable && isFavorite == o.isFavorite && type == o.type
            && id == o.id && cloudEnum == o.cloudEnum && accessDate == o.accessDate
            && createdDate == o.createdDate && timeSinceCreated == o.timeSinceCreated
            && timeSinceModified == o.timeSinceModified && selected == o.selected;
}

namespace {

// The file lists reach QML as return values of slots, so both types must be known by name.
void registerFileInfoTypes()
{
    qRegisterMetaType<DashboardFileInfoStruct>("DashboardFileInfoStruct");
    qRegisterMetaType<QList<DashboardFileInfoStruct>>("QList<DashboardFileInfoStruct>");
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(registerFileInfoTypes)
