#pragma once

#include "korvexsuite_export.h"
#include "printing/available_printers.h"

#include <QList>
#include <QString>

// The printers of this machine, in the shape the suite's modules know from Windows.
class KORVEXSUITE_EXPORT WindowsPrinterInfo
{
public:
    // Real printers first (in the order the print system lists them), then simulated ones; a
    // simulated printer replaces a real one of the same name.
    static QList<AvailablePrinters> getAvailablePrinters();
    // The printer of that name, or a record with empty texts when there is none.
    static AvailablePrinters getAvailablePrinterInfo(const QString &printerName);
    // The printer family of a driver (the "type" the simulated printers give), 0 when unknown.
    static int printerType(const QString &driverName);
};
