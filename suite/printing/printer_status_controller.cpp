#include "printing/printer_status_controller.h"

#include "printing/printer_directory.h"
#include "printing/qvipc_m4_controller.h"
#include "printing/supply_id_controller.h"

PrinterStatusController::PrinterStatusController(QObject *parent)
    : QObject(parent),
      m_m4Controller(new QVIPCM4Controller(this)),
      m_supplyIdController(new SupplyIdController(this))
{
    PrinterDirectory *directory = PrinterDirectory::instance();
    m_activeDefaultPrinter = directory->defaultPrinterName();
    connect(directory, &PrinterDirectory::printerStatusChanged, this,
            [this](const QString &name, int status) { Q_EMIT statusChangedSignal(status, name); });
    connect(directory, &PrinterDirectory::printerSupplyChanged, this,
            &PrinterStatusController::supplyIdChangedSignal);
    connect(directory, &PrinterDirectory::printerRibbonsChanged, this,
            &PrinterStatusController::ribbonIdsChangedSignal);
    connect(directory, &PrinterDirectory::printersChanged, this,
            &PrinterStatusController::availablePrintersUpdated);
    connect(directory, &PrinterDirectory::defaultPrinterChanged, this,
            &PrinterStatusController::setActiveDefaultPrinter);
}

PrinterStatusController::~PrinterStatusController() = default;

bool PrinterStatusController::qvDefaultActivePrinter() const
{
    if (m_activeDefaultPrinter.isEmpty())
        return false;
    return PrinterDirectory::instance()->printer(m_activeDefaultPrinter).info.driverName.startsWith(
            QLatin1String("Ondrel "));
}

QString PrinterStatusController::getPrinterSoftwareVersion(QString printerName) const
{
    return PrinterDirectory::instance()->printer(printerName).firmwareVersion;
}

void PrinterStatusController::checkForNewPrinter(AvailablePrinters printer)
{
    PrinterDirectory *directory = PrinterDirectory::instance();
    if (!directory->contains(printer.printerName))
        return; // a name the system does not know
    setActiveDefaultPrinter(printer.printerName);
    Q_EMIT statusChangedSignal(directory->printer(printer.printerName).status, printer.printerName);
}

void PrinterStatusController::setActiveDefaultPrinter(const QString &printerName)
{
    if (printerName == m_activeDefaultPrinter)
        return;
    m_activeDefaultPrinter = printerName;
    Q_EMIT activeDefaultPrinterSetSignal(printerName, qvDefaultActivePrinter());
}
