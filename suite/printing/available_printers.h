#pragma once

#include "korvexsuite_export.h"

#include <QMetaType>
#include <QObject>
#include <QString>

// One printer as the system lists it: four texts, then whether the suite leaves it out.
struct KORVEXSUITE_EXPORT AvailablePrinters
{
    Q_GADGET
    Q_PROPERTY(QString printerName MEMBER printerName)
    Q_PROPERTY(QString portName MEMBER portName)
    Q_PROPERTY(QString driverName MEMBER driverName)
    Q_PROPERTY(QString location MEMBER location)
    Q_PROPERTY(bool isExcluded MEMBER isExcluded)

public:
    QString printerName;
    QString portName;
    QString driverName;
    QString location;
    bool isExcluded = false;

    bool operator==(const AvailablePrinters &other) const
    {
        return printerName == other.printerName && portName == other.portName
                && driverName == other.driverName && location == other.location
                && isExcluded == other.isExcluded;
    }
    bool operator!=(const AvailablePrinters &other) const { return !(*this == other); }
};

Q_DECLARE_METATYPE(AvailablePrinters)
