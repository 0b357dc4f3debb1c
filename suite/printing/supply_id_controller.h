#pragma once

#include "korvexsuite_export.h"

#include <QObject>
#include <QString>
#include <QStringList>

// Supplies loaded in the printers. Modules reach these methods by name through the dashboard.
class KORVEXSUITE_EXPORT SupplyIdController : public QObject
{
    Q_OBJECT

public:
    explicit SupplyIdController(QObject *parent = nullptr);

    // Identifier of the supply loaded in a printer; empty for an unknown printer.
    Q_INVOKABLE QString getSupplyId(QString printerName) const;
    // Identifiers of the ribbons loaded in a printer.
    Q_INVOKABLE QStringList getRibbonIds(QString printerName) const;
    Q_INVOKABLE bool hasSupply(QString printerName) const;
};
