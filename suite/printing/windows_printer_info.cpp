#include "printing/windows_printer_info.h"

#include "printing/printer_directory.h"

QList<AvailablePrinters> WindowsPrinterInfo::getAvailablePrinters()
{
    QList<AvailablePrinters> list;
    for (const PrinterDirectory::Printer &printer : PrinterDirectory::instance()->printers())
        list << printer.info;
    return list;
}

AvailablePrinters WindowsPrinterInfo::getAvailablePrinterInfo(const QString &printerName)
{
    return PrinterDirectory::instance()->printer(printerName).info;
}

int WindowsPrinterInfo::printerType(const QString &driverName)
{
    if (driverName.isEmpty())
        return 0;
    for (const PrinterDirectory::Printer &printer : PrinterDirectory::instance()->printers())
        if (printer.info.driverName == driverName && printer.printerType != 0)
            return printer.printerType;
    return 0;
}
