#include "module_command_line.h"

#include <QtTest>

class tst_ModuleCommandLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void moduleFromProgramName_data();
    void moduleFromProgramName();
    void parse_data();
    void parse();
    void printerArgument_data();
    void printerArgument();
};

void tst_ModuleCommandLine::moduleFromProgramName_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("store");
    QTest::newRow("label designer") << "/opt/k/bin/QVLabelEditor.exe" << 0 << "QVLabelEditor";
    QTest::newRow("premade") << "QVCatalog.exe" << 1 << "QVCatalog";
    QTest::newRow("arc flash") << "./ArcFlashMain.exe" << 2 << "ArcFlashMain";
    QTest::newRow("chemical") << "QuenbyGHS.exe" << 3 << "GHS";
    QTest::newRow("nfpa") << "NFPAMain.exe" << 4 << "NFPAMain";
    QTest::newRow("pipe marking") << "PipeMarkingMain.exe" << 5 << "PipeMarking";
    QTest::newRow("symbol creator") << "SymbolCreatorAppMain.exe" << 6 << "SymbolCreator";
    QTest::newRow("maintenance") << "PrinterMaintenance.exe" << 7 << "PrinterMaintenance";
    QTest::newRow("case counts") << "qvlabeleditor.exe" << -1 << "";
    QTest::newRow("unknown") << "korvex_demo_module" << -1 << "";
}

void tst_ModuleCommandLine::moduleFromProgramName()
{
    QFETCH(QString, program);
    QFETCH(int, type);
    QFETCH(QString, store);
    const ModuleInfo module = ModuleInfo::fromExecutableName(program);
    QCOMPARE(module.applicationType, type);
    QCOMPARE(module.storeName, store);
    QCOMPARE(module.isValid(), type >= 0);
    if (type >= 0) {
        QCOMPARE(ModuleInfo::fromApplicationType(type).executableName, module.executableName);
        QCOMPARE(ModuleInfo::all().at(type).executableName, module.executableName);
    }
}

void tst_ModuleCommandLine::parse_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("hasDashboard");
    QTest::addColumn<quint64>("dashboard");
    QTest::addColumn<bool>("hasPrinter");
    QTest::addColumn<QString>("printerName");
    QTest::addColumn<bool>("suitePrinter");
    QTest::addColumn<bool>("testMode");
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("clean"); // no error

    // The launcher's command lines, module by module.
    QTest::newRow("designer, everything")
            << QStringList{ "QVLabelEditor.exe", "--dashboard", "4194310", "--p Printer A,1",
                            "--qvtestmode", "/home/u/Plan.KXLD" }
            << true << quint64(4194310) << true << "Printer A" << true << true
            << "/home/u/Plan.KXLD" << true;
    QTest::newRow("designer, empty printer, file")
            << QStringList{ "QVLabelEditor.exe", "--dashboard", "77", "", "/l/a.kxld" }
            << true << quint64(77) << true << "" << false << false << "/l/a.kxld" << true;
    QTest::newRow("nfpa, test mode")
            << QStringList{ "NFPAMain.exe", "--dashboard", "12", "--p P1,0", "--qvtestmode" }
            << true << quint64(12) << true << "P1" << false << true << "" << true;
    QTest::newRow("pipe marking, file")
            << QStringList{ "PipeMarkingMain.exe", "--dashboard", "12", "--p P1,0", "/x/y z.kxpm" }
            << true << quint64(12) << true << "P1" << false << false << "/x/y z.kxpm" << true;
    QTest::newRow("premade, no printer")
            << QStringList{ "QVCatalog.exe", "--dashboard", "9", "--qvtestmode" }
            << true << quint64(9) << false << "" << false << true << "" << true;
    QTest::newRow("symbol creator, two arguments")
            << QStringList{ "SymbolCreatorAppMain.exe", "--dashboard", "9" }
            << true << quint64(9) << false << "" << false << false << "" << true;
    QTest::newRow("maintenance, printer-like text is not its printer")
            << QStringList{ "PrinterMaintenance.exe", "--dashboard", "9", "--p P1,1" }
            << true << quint64(9) << false << "" << false << false << "" << false;
    QTest::newRow("printer name with commas")
            << QStringList{ "ArcFlashMain.exe", "--dashboard", "1", "--p Line 1, bay 2,1" }
            << true << quint64(1) << true << "Line 1, bay 2" << true << false << "" << true;
    // A window id the launcher wrote as a negative C int is the sign-extended handle.
    QTest::newRow("negative id")
            << QStringList{ "QuenbyGHS.exe", "--dashboard", "-2", "--p P,1" }
            << true << quint64(std::uintptr_t(std::intptr_t(-2))) << true << "P" << true << false
            << "" << true;
    // Launched before the dashboard was shown.
    QTest::newRow("id 0") << QStringList{ "QuenbyGHS.exe", "--dashboard", "0", "--p P,1" }
                          << false << quint64(0) << true << "P" << true << false << "" << false;
    QTest::newRow("no dashboard") << QStringList{ "QVLabelEditor.exe", "/l/a.kxld" }
                                  << false << quint64(0) << false << "" << false << false
                                  << "/l/a.kxld" << true;
    QTest::newRow("id missing") << QStringList{ "QVLabelEditor.exe", "--dashboard" }
                                << false << quint64(0) << false << "" << false << false << ""
                                << false;
    QTest::newRow("id not a number")
            << QStringList{ "QVLabelEditor.exe", "--dashboard", "0x10", "--p P,1" }
            << false << quint64(0) << true << "P" << true << false << "" << false;
    QTest::newRow("id too large")
            << QStringList{ "QVLabelEditor.exe", "--dashboard", "99999999999" }
            << false << quint64(0) << false << "" << false << false << "" << false;
    QTest::newRow("dashboard not first")
            << QStringList{ "QVLabelEditor.exe", "/a.kxld", "--dashboard", "5" }
            << false << quint64(0) << false << "" << false << false << "/a.kxld" << false;
    QTest::newRow("malformed printer")
            << QStringList{ "NFPAMain.exe", "--dashboard", "5", "--p P1" }
            << true << quint64(5) << true << "" << false << false << "" << false;
    QTest::newRow("extra arguments")
            << QStringList{ "QVLabelEditor.exe", "--dashboard", "5", "--p P,1", "/a.kxld", "/b.kxld" }
            << true << quint64(5) << true << "P" << true << false << "/a.kxld" << false;
    QTest::newRow("unknown program is read leniently")
            << QStringList{ "demo", "--dashboard", "5", "--p P,0", "--qvtestmode", "/a.kxld" }
            << true << quint64(5) << true << "P" << false << true << "/a.kxld" << true;
    QTest::newRow("nothing") << QStringList{} << false << quint64(0) << false << "" << false
                             << false << "" << false;
}

void tst_ModuleCommandLine::parse()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, hasDashboard);
    QFETCH(quint64, dashboard);
    QFETCH(bool, hasPrinter);
    QFETCH(QString, printerName);
    QFETCH(bool, suitePrinter);
    QFETCH(bool, testMode);
    QFETCH(QString, file);
    QFETCH(bool, clean);
    const ModuleCommandLine line = ModuleCommandLine::parse(arguments);
    QCOMPARE(line.hasDashboard, hasDashboard);
    QCOMPARE(quint64(line.dashboardWindow), dashboard);
    QCOMPARE(line.hasPrinterArgument, hasPrinter);
    QCOMPARE(line.printerName, printerName);
    QCOMPARE(line.printerIsSuitePrinter, suitePrinter);
    QCOMPARE(line.testMode, testMode);
    QCOMPARE(line.filePath, file);
    QVERIFY2(line.error.isEmpty() == clean, qPrintable(line.error));
    if (hasPrinter)
        QCOMPARE(line.printerArgument, arguments.at(3));
}

void tst_ModuleCommandLine::printerArgument_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("suite");
    QTest::newRow("suite") << "--p Printer A,1" << true << "Printer A" << true;
    QTest::newRow("other") << "--p Printer A,0" << true << "Printer A" << false;
    QTest::newRow("empty name") << "--p ,1" << true << "" << true;
    QTest::newRow("no blank") << "--pPrinter,1" << false << "" << false;
    QTest::newRow("no flag") << "--p Printer" << false << "" << false;
    QTest::newRow("bad flag") << "--p Printer,2" << false << "" << false;
    QTest::newRow("empty") << "" << false << "" << false;
}

void tst_ModuleCommandLine::printerArgument()
{
    QFETCH(QString, text);
    QFETCH(bool, valid);
    QFETCH(QString, name);
    QFETCH(bool, suite);
    QString parsedName = QStringLiteral("untouched");
    bool parsedSuite = !suite;
    QCOMPARE(ModuleCommandLine::parsePrinterArgument(text, &parsedName, &parsedSuite), valid);
    if (valid) {
        QCOMPARE(parsedName, name);
        QCOMPARE(parsedSuite, suite);
    } else {
        QCOMPARE(parsedName, QStringLiteral("untouched"));
    }
}

QTEST_APPLESS_MAIN(tst_ModuleCommandLine)
#include "tst_modulecommandline.moc"
