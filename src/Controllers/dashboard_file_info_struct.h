#pragma once

#include "korvexdashboard_export.h"

#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QString>

// One label file or folder of a file list, read by QML through its properties. Lists address
// entries by id, never by position.
struct KORVEXDASHBOARD_EXPORT DashboardFileInfoStruct
{
    Q_GADGET
    Q_PROPERTY(QString labelFileName MEMBER labelFileName)
    Q_PROPERTY(QString filePath MEMBER filePath)
    Q_PROPERTY(bool isWritable MEMBER isWritable)
    Q_PROPERTY(bool isFavorite MEMBER isFavorite)
    Q_PROPERTY(bool type MEMBER type)
    Q_PROPERTY(int id MEMBER id)
    Q_PROPERTY(int cloudEnum MEMBER cloudEnum)
    Q_PROPERTY(QDateTime accessDate MEMBER accessDate)
    Q_PROPERTY(QDateTime createdDate MEMBER createdDate)
    Q_PROPERTY(QString timeSinceCreated MEMBER timeSinceCreated)
    Q_PROPERTY(QString timeSinceModified MEMBER timeSinceModified)
    Q_PROPERTY(bool selected MEMBER selected)

public:
    QString labelFileName;
    QString filePath; // the containing directory, never the file itself
    bool isWritable = true;
    bool isFavorite = false;
    bool type = false; // DashboardGlobal::FileType: false file, true folder
    int id = -1;
    int cloudEnum = 1; // DashboardGlobal::LabelLocation, LABEL_LOCAL
    QDateTime accessDate;
    QDateTime createdDate;
    QString timeSinceCreated;
    QString timeSinceModified;
    bool selected = false;

    // The key of the file in the favourites group and in the history map.
    QString fullPath() const { return filePath + QLatin1Char('/') + labelFileName; }

    bool operator==(const DashboardFileInfoStruct &other) const;
    bool operator!=(const DashboardFileInfoStruct &other) const { return !(*this == other); }
};

// Its members are all relocatable, so lists move records as plain bytes.
Q_DECLARE_TYPEINFO(DashboardFileInfoStruct, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(DashboardFileInfoStruct)
