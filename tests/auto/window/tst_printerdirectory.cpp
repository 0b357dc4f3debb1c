#include "printing/printer_directory.h"
#include "printing/windows_printer_info.h"

#include "log_capture.h"
#include "printer_fixture.h"

#include <QPrinterInfo>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

class tst_PrinterDirectory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void noFileNoPrinters();
    void readsThePrinters();
    void namesAreUnique();
    void windowsPrinterInfo();
    void editsRaiseTheMatchingSignals_data();
    void editsRaiseTheMatchingSignals();
    void inPlaceWritesAreSeenToo();
    void brokenFileKeepsTheLastPrinters();
    void oversizedFileIsRefused();
    void removedAndRecreatedFile();
    void realPrintersDoNotDisturbSimulatedOnes();
    void realPrintersReadingIsAnnounced();
    void realPrintersOffForgetsAReadingUnderWay();
    void realDefaultPrinterComesAndGoes();

private:
    PrinterDirectory *directory() const { return PrinterDirectory::instance(); }
    std::unique_ptr<PrinterFixture> m_printers;
};

void tst_PrinterDirectory::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_PrinterDirectory::init()
{
    m_printers = std::make_unique<PrinterFixture>();
    m_printers->writePrinters({ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1",
                                                        { "R1" }, "1.0.0-1", 3, false, true),
                                PrinterFixture::printer("P2", "Generic PCL Driver", 4) });
}

void tst_PrinterDirectory::cleanup()
{
    directory()->setRealPrinterSource({});
    m_printers.reset();
}

void tst_PrinterDirectory::noFileNoPrinters()
{
    directory()->setSimulatedPrintersFile(QString());
    QVERIFY(directory()->printers().isEmpty());
    QVERIFY(WindowsPrinterInfo::getAvailablePrinters().isEmpty());
    QVERIFY(directory()->defaultPrinterName().isEmpty());
    directory()->setSimulatedPrintersFile(m_printers->printersPath() + ".missing");
    QVERIFY(directory()->printers().isEmpty());
}

void tst_PrinterDirectory::readsThePrinters()
{
    const QList<PrinterDirectory::Printer> printers = directory()->printers();
    QCOMPARE(printers.size(), 2);
    const PrinterDirectory::Printer &p1 = printers.at(0);
    QCOMPARE(p1.info.printerName, QStringLiteral("P1"));
    QCOMPARE(p1.info.driverName, QStringLiteral("Ondrel X100 Series"));
    QCOMPARE(p1.info.portName, QStringLiteral("USB001"));
    QCOMPARE(p1.info.location, QStringLiteral("Line 1"));
    QVERIFY(!p1.info.isExcluded);
    QCOMPARE(p1.status, 0);
    QCOMPARE(p1.supplyId, QStringLiteral("SUP-1"));
    QCOMPARE(p1.ribbonIds, QStringList{ "R1" });
    QCOMPARE(p1.firmwareVersion, QStringLiteral("1.0.0-1"));
    QCOMPARE(p1.printerType, 3);
    QVERIFY(p1.isDefault);
    QVERIFY(p1.simulated);
    QCOMPARE(printers.at(1).status, 4);
    QCOMPARE(directory()->defaultPrinterName(), QStringLiteral("P1"));
    QVERIFY(directory()->contains("P2"));
    QVERIFY(!directory()->contains("P3"));
    QVERIFY(!directory()->contains(QString()));
}

void tst_PrinterDirectory::namesAreUnique()
{
    QJsonObject nameless = PrinterFixture::printer("", "Ondrel X100 Series");
    m_printers->writePrinters({ PrinterFixture::printer("P1", "First"),
                                PrinterFixture::printer("P1", "Second"), nameless,
                                QJsonObject{ { "name", 42 } } });
    const auto printers = directory()->printers();
    QCOMPARE(printers.size(), 1);
    QCOMPARE(printers.at(0).info.driverName, QStringLiteral("First"));
}

void tst_PrinterDirectory::windowsPrinterInfo()
{
    const QList<AvailablePrinters> list = WindowsPrinterInfo::getAvailablePrinters();
    QCOMPARE(list.size(), 2);
    QCOMPARE(list.at(0).printerName, QStringLiteral("P1"));
    QCOMPARE(WindowsPrinterInfo::getAvailablePrinterInfo("P2").driverName,
             QStringLiteral("Generic PCL Driver"));
    QCOMPARE(WindowsPrinterInfo::getAvailablePrinterInfo("Nope"), AvailablePrinters());
    QCOMPARE(WindowsPrinterInfo::printerType("Ondrel X100 Series"), 3);
    QCOMPARE(WindowsPrinterInfo::printerType("Generic PCL Driver"), 0);
    QCOMPARE(WindowsPrinterInfo::printerType(QString()), 0);
}

void tst_PrinterDirectory::editsRaiseTheMatchingSignals_data()
{
    QTest::addColumn<QList<QJsonObject>>("edited");
    QTest::addColumn<QStringList>("expected"); // signal:printer
    const auto p2 = PrinterFixture::printer("P2", "Generic PCL Driver", 4);
    QTest::newRow("status") << QList<QJsonObject>{ PrinterFixture::printer("P1", "Ondrel X100 Series", 2, "SUP-1", { "R1" }, "1.0.0-1", 3, false, true), p2 }
                            << QStringList{ "status:P1:2" };
    QTest::newRow("supply") << QList<QJsonObject>{ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-2", { "R1" }, "1.0.0-1", 3, false, true), p2 }
                            << QStringList{ "supply:P1" };
    QTest::newRow("ribbons") << QList<QJsonObject>{ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1", { "R1", "R2" }, "1.0.0-1", 3, false, true), p2 }
                             << QStringList{ "ribbons:P1" };
    QTest::newRow("firmware") << QList<QJsonObject>{ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1", { "R1" }, "1.1.0-1", 3, false, true), p2 }
                              << QStringList{ "printers" };
    QTest::newRow("excluded") << QList<QJsonObject>{ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1", { "R1" }, "1.0.0-1", 3, true, true), p2 }
                              << QStringList{ "printers" };
    QTest::newRow("printer added") << QList<QJsonObject>{ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1", { "R1" }, "1.0.0-1", 3, false, true), p2, PrinterFixture::printer("P3", "x") }
                                   << QStringList{ "printers" };
    QTest::newRow("printer removed and default moved") << QList<QJsonObject>{ PrinterFixture::printer("P2", "Generic PCL Driver", 4, QString(), {}, QString(), 0, false, true) }
                                   << QStringList{ "printers", "default:P2" };
    QTest::newRow("several at once") << QList<QJsonObject>{ PrinterFixture::printer("P1", "Ondrel X100 Series", 1, "SUP-1", { "R1" }, "1.0.0-1", 3, false, true), PrinterFixture::printer("P2", "Generic PCL Driver", 3, "S2") }
                                     << QStringList{ "status:P1:1", "status:P2:3", "supply:P2" };
}

void tst_PrinterDirectory::editsRaiseTheMatchingSignals()
{
    QFETCH(QList<QJsonObject>, edited);
    QFETCH(QStringList, expected);
    QStringList seen;
    QObject context;
    connect(directory(), &PrinterDirectory::printerStatusChanged, &context,
            [&](const QString &name, int status) { seen << QStringLiteral("status:%1:%2").arg(name).arg(status); });
    connect(directory(), &PrinterDirectory::printerSupplyChanged, &context,
            [&](const QString &name) { seen << "supply:" + name; });
    connect(directory(), &PrinterDirectory::printerRibbonsChanged, &context,
            [&](const QString &name) { seen << "ribbons:" + name; });
    connect(directory(), &PrinterDirectory::printersChanged, &context, [&] { seen << "printers"; });
    connect(directory(), &PrinterDirectory::defaultPrinterChanged, &context,
            [&](const QString &name) { seen << "default:" + name; });

    m_printers->writePrinters(edited, false); // the watch notices
    QTRY_COMPARE(seen, expected);
    // Writing the same content again raises nothing.
    seen.clear();
    m_printers->writePrinters(edited, false);
    directory()->reload();
    QCoreApplication::processEvents();
    QVERIFY2(seen.isEmpty(), qPrintable(seen.join(',')));
}

void tst_PrinterDirectory::inPlaceWritesAreSeenToo()
{
    QSignalSpy status(directory(), &PrinterDirectory::printerStatusChanged);
    QFile file(m_printers->printersPath());
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    const QJsonArray array{ PrinterFixture::printer("P1", "Ondrel X100 Series", 7, "SUP-1", { "R1" },
                                                    "1.0.0-1", 3, false, true),
                            PrinterFixture::printer("P2", "Generic PCL Driver", 4) };
    file.write(QJsonDocument(QJsonObject{ { "printers", array } }).toJson());
    file.close();
    QTRY_COMPARE(status.count(), 1);
    QCOMPARE(status.takeFirst(), (QVariantList{ "P1", 7 }));
}

void tst_PrinterDirectory::brokenFileKeepsTheLastPrinters()
{
    QSignalSpy changed(directory(), &PrinterDirectory::printersChanged);
    LogCapture log;
    PrinterFixture::writeFile(m_printers->printersPath(), "{ \"printers\": [ { \"name\": ");
    directory()->reload();
    QCOMPARE(directory()->printers().size(), 2);
    QCOMPARE(changed.count(), 0);
    bool logged = false;
    for (const auto &line : log.lines())
        logged = logged || (line.category == "korvex.suite.printing" && line.message.contains("is not valid"));
    QVERIFY(logged);

    PrinterFixture::writeFile(m_printers->printersPath(), "[1, 2, 3]"); // valid JSON, wrong shape
    directory()->reload();
    QCOMPARE(directory()->printers().size(), 2);

    m_printers->writePrinters({ PrinterFixture::printer("P9", "x") }, false);
    directory()->reload();
    QCOMPARE(directory()->printers().size(), 1);
}

void tst_PrinterDirectory::oversizedFileIsRefused()
{
    QByteArray big = "{\"printers\": [], \"pad\": \"";
    big.append(QByteArray(PrinterDirectory::MAX_FILE_SIZE, 'x'));
    big.append("\"}");
    PrinterFixture::writeFile(m_printers->printersPath(), big);
    directory()->reload();
    QCOMPARE(directory()->printers().size(), 2); // the last good reading stands
}

void tst_PrinterDirectory::removedAndRecreatedFile()
{
    QSignalSpy changed(directory(), &PrinterDirectory::printersChanged);
    QVERIFY(QFile::remove(m_printers->printersPath()));
    QTRY_VERIFY(directory()->printers().isEmpty());
    QVERIFY(changed.count() >= 1);
    m_printers->writePrinters({ PrinterFixture::printer("P5", "y") }, false);
    QTRY_COMPARE(directory()->printers().size(), 1);
    QCOMPARE(directory()->printers().at(0).info.printerName, QStringLiteral("P5"));
}

void tst_PrinterDirectory::realPrintersDoNotDisturbSimulatedOnes()
{
    // Whatever the print system of this machine lists, the simulated printers stay, and a
    // real printer of the same name gives way to the simulated one.
    QSignalSpy read(directory(), &PrinterDirectory::realPrintersRead);
    directory()->setRealPrintersEnabled(true);
    QVERIFY(read.wait());
    const auto printers = directory()->printers();
    directory()->setRealPrintersEnabled(false);
    int simulated = 0;
    QSet<QString> names;
    for (const auto &p : printers) {
        simulated += p.simulated ? 1 : 0;
        QVERIFY2(!names.contains(p.info.printerName), qPrintable(p.info.printerName));
        names.insert(p.info.printerName);
    }
    QCOMPARE(simulated, 2);
    QCOMPARE(printers.last().info.printerName, QStringLiteral("P2"));
    // Every other entry is one the print system lists.
    const QStringList system = QPrinterInfo::availablePrinterNames();
    for (const auto &p : printers)
        QVERIFY2(p.simulated || system.contains(p.info.printerName), qPrintable(p.info.printerName));
    QCOMPARE(printers.size() - simulated, int(std::count_if(system.cbegin(), system.cend(), [&](const QString &name) {
        return name != QLatin1String("P1") && name != QLatin1String("P2");
    })));
}

PrinterDirectory::RealReading oneRealPrinter()
{
    PrinterDirectory::Printer printer;
    printer.info.printerName = QStringLiteral("Office laser");
    printer.info.driverName = QStringLiteral("Generic PCL Driver");
    printer.isDefault = true;
    return { { printer }, printer.info.printerName };
}

bool listsOfficeLaser(const QList<PrinterDirectory::Printer> &printers)
{
    return std::any_of(printers.cbegin(), printers.cend(), [](const PrinterDirectory::Printer &p) {
        return !p.simulated && p.info.printerName == QLatin1String("Office laser");
    });
}

void tst_PrinterDirectory::realPrintersReadingIsAnnounced()
{
    directory()->setRealPrinterSource(&oneRealPrinter);
    QSignalSpy read(directory(), &PrinterDirectory::realPrintersRead);
    QSignalSpy changed(directory(), &PrinterDirectory::printersChanged);
    directory()->setRealPrintersEnabled(true);
    // Nobody waits for the print system: until the reading is in, there is no real printer.
    QVERIFY(!listsOfficeLaser(directory()->printers()));
    changed.clear();
    QVERIFY(read.wait());
    QCOMPARE(changed.count(), 1);
    QVERIFY(listsOfficeLaser(directory()->printers()));
    QVERIFY(directory()->contains(QStringLiteral("Office laser")));
    // The same reading again changes nothing.
    changed.clear();
    directory()->setRealPrintersEnabled(false);
    directory()->setRealPrintersEnabled(true);
    changed.clear();
    QVERIFY(read.wait());
    QCOMPARE(changed.count(), 1); // off forgot the printer, this reading brings it back
    directory()->setRealPrintersEnabled(false);
    QVERIFY(!listsOfficeLaser(directory()->printers()));
}

void tst_PrinterDirectory::realPrintersOffForgetsAReadingUnderWay()
{
    // A reading that arrives after the real printers were switched off adds nothing.
    directory()->setRealPrinterSource(&oneRealPrinter);
    QSignalSpy read(directory(), &PrinterDirectory::realPrintersRead);
    QSignalSpy changed(directory(), &PrinterDirectory::printersChanged);
    QSignalSpy defaultChanged(directory(), &PrinterDirectory::defaultPrinterChanged);
    directory()->setRealPrintersEnabled(true);
    directory()->setRealPrintersEnabled(false);
    changed.clear();
    defaultChanged.clear();
    QVERIFY(read.wait());
    QCOMPARE(changed.count(), 0);
    QCOMPARE(defaultChanged.count(), 0);
    QVERIFY(!listsOfficeLaser(directory()->printers()));
    for (const auto &p : directory()->printers())
        QVERIFY2(p.simulated, qPrintable(p.info.printerName));
}

void tst_PrinterDirectory::realDefaultPrinterComesAndGoes()
{
    // No simulated printer is the default, so the print system's default is the directory's.
    m_printers->writePrinters({ PrinterFixture::printer("P2", "Generic PCL Driver", 4) });
    QVERIFY(directory()->defaultPrinterName().isEmpty());
    directory()->setRealPrinterSource(&oneRealPrinter);
    QSignalSpy read(directory(), &PrinterDirectory::realPrintersRead);
    QSignalSpy changed(directory(), &PrinterDirectory::printersChanged);
    QSignalSpy defaultChanged(directory(), &PrinterDirectory::defaultPrinterChanged);

    directory()->setRealPrintersEnabled(true);
    QCOMPARE(changed.count(), 0);
    QCOMPARE(defaultChanged.count(), 0);
    QVERIFY(read.wait());
    QCOMPARE(changed.count(), 1);
    QCOMPARE(defaultChanged.count(), 1);
    QCOMPARE(defaultChanged.takeFirst().at(0).toString(), QStringLiteral("Office laser"));

    directory()->setRealPrintersEnabled(false);
    QCOMPARE(changed.count(), 2);
    QCOMPARE(defaultChanged.count(), 1);
    QCOMPARE(defaultChanged.takeFirst().at(0).toString(), QString());
    QVERIFY(!listsOfficeLaser(directory()->printers()));
}

QTEST_MAIN(tst_PrinterDirectory)
#include "tst_printerdirectory.moc"
