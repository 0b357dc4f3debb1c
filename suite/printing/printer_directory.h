#pragma once

#include "korvexsuite_export.h"
#include "printing/available_printers.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>

class QFileSystemWatcher;
class QThread;
class QTimer;

// Everything the printing library knows about printers: the machine's real printers through
// Qt's print support (CUPS on Linux), and simulated printers read from a JSON file that is
// watched, so editing the file while the dashboard runs drives printer events by hand.
// The real printers are read on another thread, once the event loop runs and then every
// REAL_PRINTERS_REFRESH_MS; until the first reading is in, there are none.
class KORVEXSUITE_EXPORT PrinterDirectory : public QObject
{
    Q_OBJECT

public:
    struct Printer
    {
        AvailablePrinters info;
        int status = 0;
        QString supplyId;
        QStringList ribbonIds;
        QString firmwareVersion;
        int printerType = 0;
        bool isDefault = false;
        bool simulated = false;

        bool operator==(const Printer &other) const;
        bool operator!=(const Printer &other) const { return !(*this == other); }
    };

    // Bigger files are refused: the file is edited by hand and never needs this much.
    static constexpr qint64 MAX_FILE_SIZE = 4 * 1024 * 1024;
    static constexpr int REAL_PRINTERS_REFRESH_MS = 10000;

    // The process's directory, created on first use as a child of the application object.
    // Its file and switches start from KORVEX_SIMULATED_PRINTERS, KORVEX_FIRMWARE_MANIFEST
    // and KORVEX_REAL_PRINTERS ("0" leaves the real printers out).
    static PrinterDirectory *instance();

    explicit PrinterDirectory(QObject *parent = nullptr);
    ~PrinterDirectory() override;

    QString simulatedPrintersFile() const { return m_file; }
    // Reads the file at once and watches it; an empty path means no simulated printers.
    void setSimulatedPrintersFile(const QString &path);
    bool realPrintersEnabled() const { return m_realPrintersEnabled; }
    void setRealPrintersEnabled(bool enabled);
    QString firmwareManifestFile() const { return m_manifestFile; }
    void setFirmwareManifestFile(const QString &path) { m_manifestFile = path; }

    QList<Printer> printers() const;
    // The printer of that name (simulated first); a default Printer when there is none.
    Printer printer(const QString &name) const;
    bool contains(const QString &name) const;
    QString defaultPrinterName() const;

    // Reads the simulated printers again and raises the signals of what changed.
    void reload();

Q_SIGNALS:
    void printerStatusChanged(QString printerName, int status);
    void printerSupplyChanged(QString printerName);
    void printerRibbonsChanged(QString printerName);
    // A printer came, went or changed its texts, exclusion, type or firmware.
    void printersChanged();
    void defaultPrinterChanged(QString printerName);
    // A reading of the real printers is in (after the signals of what it changed).
    void realPrintersRead();

public:
    // One reading of the machine's printers.
    struct RealReading
    {
        QList<Printer> printers;
        QString defaultName;
    };
    // Asks the print system; called on the reading thread.
    static RealReading readRealPrinters();
    // Where readings come from (readRealPrinters unless a test puts its own answer in place);
    // an empty function restores readRealPrinters.
    void setRealPrinterSource(std::function<RealReading()> source);

private:
    void startReadingRealPrinters();
    void refreshRealPrinters();
    void announceChanges(const QList<Printer> &previous, const QList<Printer> &next,
                         const QString &previousDefault);
    QList<Printer> realPrinters() const;
    QList<Printer> readSimulatedFile(bool *ok) const;
    void watch();
    void onWatchedPathChanged();

    QString m_file;
    QString m_manifestFile;
    bool m_realPrintersEnabled = true;
    QList<Printer> m_simulated;
    QFileSystemWatcher *m_watcher = nullptr;
    bool m_reloadPending = false;
    QList<Printer> m_real;
    QString m_realDefault;
    std::function<RealReading()> m_realSource = &PrinterDirectory::readRealPrinters;
    QThread *m_realReader = nullptr;
    bool m_realRefreshAgain = false;
    QTimer *m_realRefresh = nullptr;
};
