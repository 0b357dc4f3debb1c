#pragma once

#include "korvexsuite_export.h"
#include "printing/available_printers.h"

#include <QObject>
#include <QString>

class QVIPCM4Controller;
class SupplyIdController;

// The printers' status, supplies and ribbons, and the printer the suite prints to. Raises a
// signal for every change the printer directory sees.
class KORVEXSUITE_EXPORT PrinterStatusController : public QObject
{
    Q_OBJECT

public:
    explicit PrinterStatusController(QObject *parent = nullptr);
    ~PrinterStatusController() override;

    QVIPCM4Controller *getm4Controller() const { return m_m4Controller; }
    SupplyIdController *getSupplyIdController() const { return m_supplyIdController; }

    Q_INVOKABLE QString activeDefaultPrinter() const { return m_activeDefaultPrinter; }
    // Whether the active printer is one of the suite's own ("Ondrel " drivers).
    Q_INVOKABLE bool qvDefaultActivePrinter() const;
    // Firmware version the printer reports; empty when it reports none.
    Q_INVOKABLE QString getPrinterSoftwareVersion(QString printerName) const;

public Q_SLOTS:
    // A module chose a printer: it becomes the active printer, and its status is reported.
    void checkForNewPrinter(AvailablePrinters printer);

Q_SIGNALS:
    void statusChangedSignal(int status, QString printerName);
    void supplyIdChangedSignal(QString printerName);
    void ribbonIdsChangedSignal(QString printerName);
    void activeDefaultPrinterSetSignal(QString printerName, bool isQV);
    void availablePrintersUpdated();

private:
    void setActiveDefaultPrinter(const QString &printerName);

    QVIPCM4Controller *m_m4Controller = nullptr;
    SupplyIdController *m_supplyIdController = nullptr;
    QString m_activeDefaultPrinter;
};
