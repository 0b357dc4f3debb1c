#include "printing/printer_status_controller.h"
#include "printing/qvipc_m4_controller.h"
#include "printing/supply_id_controller.h"

#include "printer_fixture.h"

#include <QSignalSpy>
#include <QtTest>

#include <memory>

class tst_PrinterStatusController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void activePrinterAndVersions();
    void controllers();
    void checkForNewPrinter();
    void fileEventsBecomeSignals();

private:
    std::unique_ptr<PrinterFixture> m_printers;
    std::unique_ptr<PrinterStatusController> m_controller;
};

void tst_PrinterStatusController::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_PrinterStatusController::init()
{
    m_printers = std::make_unique<PrinterFixture>();
    m_printers->writePrinters({ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1",
                                                        { "R1", "R2" }, "1.0.0-1", 3, false, true),
                                PrinterFixture::printer("P2", "Generic PCL Driver", 4) });
    m_controller = std::make_unique<PrinterStatusController>();
}

void tst_PrinterStatusController::cleanup()
{
    m_controller.reset();
    m_printers.reset();
}

void tst_PrinterStatusController::activePrinterAndVersions()
{
    QCOMPARE(m_controller->activeDefaultPrinter(), QStringLiteral("P1"));
    QVERIFY(m_controller->qvDefaultActivePrinter());
    QCOMPARE(m_controller->getPrinterSoftwareVersion("P1"), QStringLiteral("1.0.0-1"));
    QVERIFY(m_controller->getPrinterSoftwareVersion("P2").isEmpty());
    QVERIFY(m_controller->getPrinterSoftwareVersion("nobody").isEmpty());
}

void tst_PrinterStatusController::controllers()
{
    QVIPCM4Controller *m4 = m_controller->getm4Controller();
    SupplyIdController *supply = m_controller->getSupplyIdController();
    QVERIFY(m4);
    QVERIFY(supply);
    QCOMPARE(m4->parent(), m_controller.get());
    QCOMPARE(supply->getSupplyId("P1"), QStringLiteral("SUP-1"));
    QCOMPARE(supply->getRibbonIds("P1"), (QStringList{ "R1", "R2" }));
    QVERIFY(supply->getSupplyId("nobody").isEmpty());
    QVERIFY(supply->hasSupply("P1"));
    QCOMPARE(m4->getPrinterStatus("P2"), 4);
    QCOMPARE(m4->getPrinterStatus("nobody"), -1);
    QCOMPARE(m4->getPrinterNames(), (QStringList{ "P1", "P2" }));
    QCOMPARE(m4->getFirmwareVersion("P1"), QStringLiteral("1.0.0-1"));
    QSignalSpy updated(m4, &QVIPCM4Controller::printerStatusUpdated);
    m4->onStatusChanged(9, "P2");
    QCOMPARE(m4->getPrinterStatus("P2"), 9);
    m4->onStatusChanged(9, "made-up"); // not remembered
    QCOMPARE(m4->getPrinterStatus("made-up"), -1);
    QCOMPARE(updated.count(), 2);
}

void tst_PrinterStatusController::checkForNewPrinter()
{
    QSignalSpy active(m_controller.get(), &PrinterStatusController::activeDefaultPrinterSetSignal);
    QSignalSpy status(m_controller.get(), &PrinterStatusController::statusChangedSignal);
    AvailablePrinters p2;
    p2.printerName = "P2";
    m_controller->checkForNewPrinter(p2);
    QCOMPARE(m_controller->activeDefaultPrinter(), QStringLiteral("P2"));
    QVERIFY(!m_controller->qvDefaultActivePrinter());
    QCOMPARE(active.takeFirst(), (QVariantList{ "P2", false }));
    QCOMPARE(status.takeFirst(), (QVariantList{ 4, "P2" }));
    // The same printer again: its status is reported, the active printer is unchanged.
    m_controller->checkForNewPrinter(p2);
    QCOMPARE(active.count(), 0);
    QCOMPARE(status.count(), 1);
    status.clear();
    // Unknown and empty names change nothing.
    AvailablePrinters ghost;
    ghost.printerName = "ghost";
    m_controller->checkForNewPrinter(ghost);
    m_controller->checkForNewPrinter(AvailablePrinters());
    QCOMPARE(active.count(), 0);
    QCOMPARE(status.count(), 0);
}

void tst_PrinterStatusController::fileEventsBecomeSignals()
{
    QSignalSpy status(m_controller.get(), &PrinterStatusController::statusChangedSignal);
    QSignalSpy supply(m_controller.get(), &PrinterStatusController::supplyIdChangedSignal);
    QSignalSpy ribbons(m_controller.get(), &PrinterStatusController::ribbonIdsChangedSignal);
    QSignalSpy printers(m_controller.get(), &PrinterStatusController::availablePrintersUpdated);
    QSignalSpy active(m_controller.get(), &PrinterStatusController::activeDefaultPrinterSetSignal);
    m_printers->writePrinters({ PrinterFixture::printer("P1", "Ondrel X100 Series", 3, "SUP-2",
                                                        { "R3" }, "1.0.0-1", 3),
                                PrinterFixture::printer("P2", "Generic PCL Driver", 4),
                                PrinterFixture::printer("P3", "Ondrel Z9", 0, QString(), {},
                                                        QString(), 5, false, true) },
                              false);
    QTRY_COMPARE(active.count(), 1);
    QCOMPARE(status.takeFirst(), (QVariantList{ 3, "P1" }));
    QCOMPARE(supply.takeFirst(), QVariantList{ "P1" });
    QCOMPARE(ribbons.takeFirst(), QVariantList{ "P1" });
    QCOMPARE(printers.count(), 1);
    QCOMPARE(active.takeFirst(), (QVariantList{ "P3", true }));
}

QTEST_MAIN(tst_PrinterStatusController)
#include "tst_printerstatuscontroller.moc"
