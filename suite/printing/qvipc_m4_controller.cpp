#include "printing/qvipc_m4_controller.h"

#include "printing/printer_directory.h"

QVIPCM4Controller::QVIPCM4Controller(QObject *parent) : QObject(parent) { }

int QVIPCM4Controller::getPrinterStatus(QString printerName) const
{
    const auto it = m_lastStatus.constFind(printerName);
    if (it != m_lastStatus.constEnd())
        return *it;
    PrinterDirectory *directory = PrinterDirectory::instance();
    return directory->contains(printerName) ? directory->printer(printerName).status : -1;
}

QStringList QVIPCM4Controller::getPrinterNames() const
{
    QStringList names;
    for (const PrinterDirectory::Printer &printer : PrinterDirectory::instance()->printers())
        names << printer.info.printerName;
    return names;
}

QString QVIPCM4Controller::getFirmwareVersion(QString printerName) const
{
    return PrinterDirectory::instance()->printer(printerName).firmwareVersion;
}

bool QVIPCM4Controller::isPrinterAvailable(QString printerName) const
{
    return PrinterDirectory::instance()->contains(printerName);
}

void QVIPCM4Controller::onStatusChanged(int status, QString printerName)
{
    // Only printers that exist are remembered, so a flood of made-up names cannot grow this.
    if (PrinterDirectory::instance()->contains(printerName))
        m_lastStatus.insert(printerName, status);
    Q_EMIT printerStatusUpdated(status, printerName);
}
