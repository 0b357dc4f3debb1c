#pragma once

#include "korvexsuite_export.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

// The printers' status as the modules see it. Modules reach the invokable methods by name
// through the dashboard.
class KORVEXSUITE_EXPORT QVIPCM4Controller : public QObject
{
    Q_OBJECT

public:
    explicit QVIPCM4Controller(QObject *parent = nullptr);

    // The last status reported for a printer, else the printer's current status; -1 when the
    // printer is unknown.
    Q_INVOKABLE int getPrinterStatus(QString printerName) const;
    Q_INVOKABLE QStringList getPrinterNames() const;
    Q_INVOKABLE QString getFirmwareVersion(QString printerName) const;
    Q_INVOKABLE bool isPrinterAvailable(QString printerName) const;

public Q_SLOTS:
    void onStatusChanged(int status, QString printerName);

Q_SIGNALS:
    void printerStatusUpdated(int status, QString printerName);

private:
    QHash<QString, int> m_lastStatus;
};
