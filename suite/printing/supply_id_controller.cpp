#include "printing/supply_id_controller.h"

#include "printing/printer_directory.h"

SupplyIdController::SupplyIdController(QObject *parent) : QObject(parent) { }

QString SupplyIdController::getSupplyId(QString printerName) const
{
    return PrinterDirectory::instance()->printer(printerName).supplyId;
}

QStringList SupplyIdController::getRibbonIds(QString printerName) const
{
    return PrinterDirectory::instance()->printer(printerName).ribbonIds;
}

bool SupplyIdController::hasSupply(QString printerName) const
{
    return !getSupplyId(printerName).isEmpty();
}
