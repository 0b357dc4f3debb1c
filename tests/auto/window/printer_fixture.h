#pragma once

// Simulated printers for the window tests: a JSON file in a temporary folder that the printing
// library reads and watches.

#include "printing/printer_directory.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QTemporaryDir>

class PrinterFixture
{
public:
    PrinterFixture()
    {
        PrinterDirectory::instance()->setRealPrintersEnabled(false);
    }
    ~PrinterFixture()
    {
        PrinterDirectory::instance()->setSimulatedPrintersFile(QString());
        PrinterDirectory::instance()->setFirmwareManifestFile(QString());
    }

    QString printersPath() const { return m_dir.filePath(QStringLiteral("printers.json")); }
    QString manifestPath() const { return m_dir.filePath(QStringLiteral("firmware.json")); }

    static QJsonObject printer(const QString &name, const QString &driver, int status = 0,
                               const QString &supplyId = QString(),
                               const QStringList &ribbons = QStringList(),
                               const QString &firmware = QString(), int type = 0,
                               bool excluded = false, bool isDefault = false)
    {
        return QJsonObject{ { "name", name },
                            { "driver", driver },
                            { "port", "USB001" },
                            { "location", "Line 1" },
                            { "status", status },
                            { "supplyId", supplyId },
                            { "ribbonIds", QJsonArray::fromStringList(ribbons) },
                            { "firmwareVersion", firmware },
                            { "type", type },
                            { "excluded", excluded },
                            { "default", isDefault } };
    }

    // Writes the printers file (by rename, as editors do) and points the library at it.
    void writePrinters(const QList<QJsonObject> &printers, bool install = true)
    {
        QJsonArray array;
        for (const QJsonObject &p : printers)
            array.append(p);
        writeFile(printersPath(), QJsonDocument(QJsonObject{ { "printers", array } }).toJson());
        if (install)
            PrinterDirectory::instance()->setSimulatedPrintersFile(printersPath());
    }

    void writeManifest(const QList<QPair<int, QString>> &latest)
    {
        QJsonArray array;
        for (const auto &entry : latest)
            array.append(QJsonObject{ { "type", entry.first }, { "latestVersion", entry.second } });
        writeFile(manifestPath(), QJsonDocument(QJsonObject{ { "printerTypes", array } }).toJson());
        PrinterDirectory::instance()->setFirmwareManifestFile(manifestPath());
    }

    static void writeFile(const QString &path, const QByteArray &bytes)
    {
        QSaveFile file(path);
        if (file.open(QIODevice::WriteOnly)) {
            file.write(bytes);
            file.commit();
        }
    }

private:
    QTemporaryDir m_dir;
};
