#include "printing/printer_directory.h"

#include "printing/printing_logging.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPrinterInfo>
#include <QSet>
#include <QThread>
#include <QTimer>

#include <memory>
#include <utility>

namespace {

QPointer<PrinterDirectory> &currentInstance()
{
    static QPointer<PrinterDirectory> directory;
    return directory;
}

int printerStateToStatus(QPrinter::PrinterState state)
{
    // The numbers the simulated file uses too: 0 idle, 1 active, 2 aborted, 3 error.
    return int(state);
}

} // namespace

bool PrinterDirectory::Printer::operator==(const Printer &other) const
{
    return info == other.info && status == other.status && supplyId == other.supplyId
            && ribbonIds == other.ribbonIds && firmwareVersion == other.firmwareVersion
            && printerType == other.printerType && isDefault == other.isDefault
            && simulated == other.simulated;
}

PrinterDirectory *PrinterDirectory::instance()
{
    QPointer<PrinterDirectory> &directory = currentInstance();
    if (!directory) {
        directory = new PrinterDirectory(QCoreApplication::instance());
        directory->m_realPrintersEnabled = qEnvironmentVariable("KORVEX_REAL_PRINTERS") != u"0";
        directory->m_manifestFile = qEnvironmentVariable("KORVEX_FIRMWARE_MANIFEST");
        directory->setSimulatedPrintersFile(qEnvironmentVariable("KORVEX_SIMULATED_PRINTERS"));
    }
    return directory;
}

PrinterDirectory::PrinterDirectory(QObject *parent) : QObject(parent)
{
    // Once the switches are set and the event loop runs: nobody starts up waiting for it.
    QTimer::singleShot(0, this, &PrinterDirectory::startReadingRealPrinters);
}

PrinterDirectory::~PrinterDirectory()
{
    if (m_realReader) {
        m_realReader->wait();
        delete m_realReader;
    }
}

void PrinterDirectory::startReadingRealPrinters()
{
    if (!m_realRefresh) {
        // Printers come and go while the dashboard runs; nobody tells us, so we look again.
        m_realRefresh = new QTimer(this);
        m_realRefresh->setInterval(REAL_PRINTERS_REFRESH_MS);
        connect(m_realRefresh, &QTimer::timeout, this, &PrinterDirectory::refreshRealPrinters);
    }
    if (m_realPrintersEnabled) {
        m_realRefresh->start();
        refreshRealPrinters();
    } else {
        m_realRefresh->stop();
    }
}

void PrinterDirectory::setSimulatedPrintersFile(const QString &path)
{
    m_file = path;
    delete m_watcher;
    m_watcher = nullptr;
    if (!m_file.isEmpty()) {
        m_watcher = new QFileSystemWatcher(this);
        connect(m_watcher, &QFileSystemWatcher::fileChanged, this,
                &PrinterDirectory::onWatchedPathChanged);
        connect(m_watcher, &QFileSystemWatcher::directoryChanged, this,
                &PrinterDirectory::onWatchedPathChanged);
        watch();
    }
    reload();
}

void PrinterDirectory::setRealPrintersEnabled(bool enabled)
{
    if (m_realPrintersEnabled == enabled)
        return;
    // Switched on, nothing changes until the first reading is in; switched off, the printers
    // of the last reading go, and with them perhaps the default.
    const QList<Printer> previous = realPrinters();
    const QString previousDefault = defaultPrinterName();
    m_realPrintersEnabled = enabled;
    if (!enabled) {
        m_real.clear();
        m_realDefault.clear();
    }
    startReadingRealPrinters();
    announceChanges(previous, realPrinters(), previousDefault);
}

void PrinterDirectory::watch()
{
    if (!m_watcher)
        return;
    // Editors often save by writing a new file and renaming it over the old one, which ends a
    // watch on the file itself; the folder's watch sees the new file appear.
    const QFileInfo info(m_file);
    if (info.absoluteDir().exists() && !m_watcher->directories().contains(info.absolutePath()))
        m_watcher->addPath(info.absolutePath());
    if (info.exists() && !m_watcher->files().contains(info.absoluteFilePath()))
        m_watcher->addPath(info.absoluteFilePath());
}

void PrinterDirectory::onWatchedPathChanged()
{
    // A save often arrives as several notifications; read once they have settled.
    if (m_reloadPending)
        return;
    m_reloadPending = true;
    QTimer::singleShot(0, this, [this] {
        m_reloadPending = false;
        watch();
        reload();
    });
}

QList<PrinterDirectory::Printer> PrinterDirectory::readSimulatedFile(bool *ok) const
{
    *ok = true;
    QList<Printer> printers;
    if (m_file.isEmpty())
        return printers;
    QFile file(m_file);
    if (!file.exists())
        return printers; // no file: no simulated printers
    if (!file.open(QIODevice::ReadOnly)) {
        *ok = false;
        return printers;
    }
    if (file.size() > MAX_FILE_SIZE) {
        KX_DEBUG(lcSuitePrinting, "Simulated printers file %s is larger than %lld bytes; ignored.",
                 qUtf8Printable(m_file), MAX_FILE_SIZE);
        *ok = false;
        return printers;
    }
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        // Often a file caught half-written; the next change notification reads it again.
        KX_DEBUG(lcSuitePrinting, "Simulated printers file %s is not valid: %s", qUtf8Printable(m_file),
                 qUtf8Printable(error.errorString()));
        *ok = false;
        return printers;
    }
    QSet<QString> names;
    const QJsonArray entries = document.object().value(u"printers").toArray();
    for (const QJsonValue &value : entries) {
        const QJsonObject entry = value.toObject();
        Printer printer;
        printer.simulated = true;
        printer.info.printerName = entry.value(u"name").toString();
        if (printer.info.printerName.isEmpty() || names.contains(printer.info.printerName))
            continue; // a printer is known by its name
        names.insert(printer.info.printerName);
        printer.info.portName = entry.value(u"port").toString();
        printer.info.driverName = entry.value(u"driver").toString();
        printer.info.location = entry.value(u"location").toString();
        printer.info.isExcluded = entry.value(u"excluded").toBool(false);
        printer.status = entry.value(u"status").toInt(0);
        printer.supplyId = entry.value(u"supplyId").toString();
        for (const QJsonValue &ribbon : entry.value(u"ribbonIds").toArray())
            printer.ribbonIds << ribbon.toString();
        printer.firmwareVersion = entry.value(u"firmwareVersion").toString();
        printer.printerType = entry.value(u"type").toInt(0);
        printer.isDefault = entry.value(u"default").toBool(false);
        printers << printer;
    }
    return printers;
}

void PrinterDirectory::reload()
{
    bool ok = false;
    const QList<Printer> next = readSimulatedFile(&ok);
    if (!ok)
        return; // keep what was read last
    const QList<Printer> previous = m_simulated;
    const QString previousDefault = defaultPrinterName();
    m_simulated = next;
    announceChanges(previous, next, previousDefault);
}

void PrinterDirectory::announceChanges(const QList<Printer> &previous, const QList<Printer> &next,
                                       const QString &previousDefault)
{
    auto find = [](const QList<Printer> &list, const QString &name) -> const Printer * {
        for (const Printer &p : list)
            if (p.info.printerName == name)
                return &p;
        return nullptr;
    };

    bool listChanged = previous.size() != next.size();
    for (const Printer &now : next) {
        const Printer *before = find(previous, now.info.printerName);
        if (!before) {
            listChanged = true;
            continue;
        }
        if (before->info != now.info || before->firmwareVersion != now.firmwareVersion
            || before->printerType != now.printerType)
            listChanged = true;
        if (before->status != now.status)
            Q_EMIT printerStatusChanged(now.info.printerName, now.status);
        if (before->supplyId != now.supplyId)
            Q_EMIT printerSupplyChanged(now.info.printerName);
        if (before->ribbonIds != now.ribbonIds)
            Q_EMIT printerRibbonsChanged(now.info.printerName);
    }
    if (listChanged)
        Q_EMIT printersChanged();
    const QString nextDefault = defaultPrinterName();
    if (nextDefault != previousDefault)
        Q_EMIT defaultPrinterChanged(nextDefault);
}

PrinterDirectory::RealReading PrinterDirectory::readRealPrinters()
{
    RealReading reading;
    reading.defaultName = QPrinterInfo::defaultPrinterName();
    const QList<QPrinterInfo> infos = QPrinterInfo::availablePrinters();
    for (const QPrinterInfo &info : infos) {
        Printer printer;
        printer.info.printerName = info.printerName();
        printer.info.driverName = info.makeAndModel();
        printer.info.location = info.location();
        printer.status = printerStateToStatus(info.state());
        printer.isDefault = info.printerName() == reading.defaultName;
        reading.printers << printer;
    }
    return reading;
}

void PrinterDirectory::setRealPrinterSource(std::function<RealReading()> source)
{
    m_realSource = source ? std::move(source) : &PrinterDirectory::readRealPrinters;
}

void PrinterDirectory::refreshRealPrinters()
{
    if (!m_realPrintersEnabled)
        return;
    if (m_realReader) {
        m_realRefreshAgain = true;
        return;
    }
    // The print system can take long to answer (a server on the network, a sleeping
    // printer): it is asked on a thread of its own, so no caller waits for it.
    auto reading = std::make_shared<RealReading>();
    m_realReader = QThread::create([reading, source = m_realSource] { *reading = source(); });
    m_realReader->setObjectName(QStringLiteral("printer reader"));
    connect(m_realReader, &QThread::finished, this, [this, reading] {
        m_realReader->wait(); // finished() comes from the thread just before it ends
        delete m_realReader;
        m_realReader = nullptr;
        if (m_realPrintersEnabled) {
            const QList<Printer> previous = m_real;
            const QString previousDefault = defaultPrinterName();
            m_real = reading->printers;
            m_realDefault = reading->defaultName;
            announceChanges(previous, m_real, previousDefault);
        }
        Q_EMIT realPrintersRead();
        if (std::exchange(m_realRefreshAgain, false))
            refreshRealPrinters();
    });
    m_realReader->start(QThread::LowPriority);
}

QList<PrinterDirectory::Printer> PrinterDirectory::realPrinters() const
{
    return m_realPrintersEnabled ? m_real : QList<Printer>();
}

QList<PrinterDirectory::Printer> PrinterDirectory::printers() const
{
    QList<Printer> all;
    for (const Printer &real : realPrinters()) {
        bool replaced = false;
        for (const Printer &simulated : m_simulated)
            replaced = replaced || simulated.info.printerName == real.info.printerName;
        if (!replaced)
            all << real;
    }
    all << m_simulated;
    return all;
}

PrinterDirectory::Printer PrinterDirectory::printer(const QString &name) const
{
    for (const Printer &p : m_simulated)
        if (p.info.printerName == name)
            return p;
    if (m_realPrintersEnabled && !name.isEmpty()) {
        for (const Printer &p : realPrinters())
            if (p.info.printerName == name)
                return p;
    }
    return Printer();
}

bool PrinterDirectory::contains(const QString &name) const
{
    return !name.isEmpty() && printer(name).info.printerName == name;
}

QString PrinterDirectory::defaultPrinterName() const
{
    for (const Printer &p : m_simulated)
        if (p.isDefault)
            return p.info.printerName;
    return m_realPrintersEnabled ? m_realDefault : QString();
}
