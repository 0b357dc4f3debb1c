#include "demo_module.h"
#include "demo_module_window.h"

#include "module_bridge.h"
#include "printer_fixture.h"

#include "widgetutils/file_controller_tools.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QWindow>
#include <QtTest>

#include <functional>

using namespace KorvexNative;

class tst_DemoModule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void startRegistersAndReportsReady_data();
    void startRegistersAndReportsReady();
    void printerIsShownAsGiven_data();
    void printerIsShownAsGiven();
    void fileIsRecordedInTheModulesHistory_data();
    void fileIsRecordedInTheModulesHistory();
    void missingFileIsNotRecorded();
    void broadcastsAreListed();
    void closesOnCloseApplicationSignal();
    void closesOnWindowClose();
    void openButtonAsksTheDashboard();
    void openButtonWithoutPathIsRefused();
    void requestButtonShowsTheReply();
    void runsWithoutADashboard();
    void unreachableDashboardIsShown();
    void eventLogFollowsTheModule();

private:
    // A demo module started under program with the given arguments after the window id,
    // its window made known to the bridge before it registers.
    std::unique_ptr<DemoModule> startModule(const QString &program, const QStringList &arguments,
                                            bool withDashboard = true,
                                            const std::function<void(DemoModule *)> &configure = {});
    QList<QPair<QString, QString>> history(const QString &store) const;

    std::unique_ptr<PrinterFixture> m_printers;
    std::unique_ptr<ModuleBridge> m_bridge;
    QTemporaryDir m_labels;
};

void tst_DemoModule::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_labels.isValid());
}

void tst_DemoModule::init()
{
    m_printers = std::make_unique<PrinterFixture>();
    m_printers->writePrinters(
            { PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1", { "R1" }, "1.0.0-1",
                                      3, false, true),
              PrinterFixture::printer("P2", "Generic PCL Driver", 4) });
    m_bridge = std::make_unique<ModuleBridge>();
}

void tst_DemoModule::cleanup()
{
    m_bridge.reset();
    m_printers.reset();
    for (const ModuleInfo &module : ModuleInfo::all()) {
        QSettings store(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Quorvane Inc"),
                        module.storeName);
        store.clear();
    }
}

std::unique_ptr<DemoModule> tst_DemoModule::startModule(const QString &program,
                                                        const QStringList &arguments,
                                                        bool withDashboard,
                                                        const std::function<void(DemoModule *)> &configure)
{
    QStringList line{ program };
    if (withDashboard)
        line << QStringLiteral("--dashboard") << QString::number(m_bridge->dashboard);
    line << arguments;
    auto module = std::make_unique<DemoModule>(ModuleCommandLine::parse(line), &m_bridge->backend);
    const auto handle = WindowHandle(module->window()->winId());
    m_bridge->backend.adoptWindow(handle);
    m_bridge->connectModuleWindow(handle);
    if (configure)
        configure(module.get());
    module->start();
    return module;
}

QList<QPair<QString, QString>> tst_DemoModule::history(const QString &storeName) const
{
    QSettings store(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Quorvane Inc"),
                    storeName);
    QList<QPair<QString, QString>> entries;
    for (const auto &entry : FileControllerTools::loadFileHistory(&store, QStringLiteral("fileHistory")))
        entries << qMakePair(entry.first, entry.second);
    return entries;
}

void tst_DemoModule::startRegistersAndReportsReady_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("printer");
    for (const ModuleInfo &module : ModuleInfo::all()) {
        QStringList arguments;
        if (module.takesPrinter)
            arguments << QStringLiteral("--p P1,1");
        if (module.takesTestMode)
            arguments << QStringLiteral("--qvtestmode");
        QTest::newRow(qPrintable(module.executableName))
                << module.executableName << arguments << module.displayName
                << (module.takesPrinter ? QStringLiteral("P1") : QString());
    }
}

void tst_DemoModule::startRegistersAndReportsReady()
{
    QFETCH(QString, program);
    QFETCH(QStringList, arguments);
    QFETCH(QString, title);
    QFETCH(QString, printer);
    QSignalSpy ready(m_bridge->helper.get(), &QVIPCHelper_win32::applicationReady);
    QSignalSpy printerNames(m_bridge->helper.get(), &QVIPCHelper_win32::modulePrinterChangeSignal);
    auto module = startModule(QStringLiteral("/opt/korvex/bin/") + program, arguments);

    const auto handle = WindowHandle(module->window()->winId());
    QVERIFY(module->window()->isVisible());
    QCOMPARE(module->window()->windowTitle(), title);
    QCOMPARE(m_bridge->helper->registeredModules(), QList<WindowHandle>{ handle });
    QCOMPARE(ready.size(), 1);
    QCOMPARE(ready.at(0).at(0).toInt(), int(handle));
    QCOMPARE(ready.at(0).at(1).toLongLong(), QCoreApplication::applicationPid());
    QCOMPARE(ready.at(0).at(2).toString(), program);
    QCOMPARE(printerNames.size(), printer.isEmpty() ? 0 : 1);
    if (!printer.isEmpty())
        QCOMPARE(printerNames.at(0).at(0).toString(), printer);
}

void tst_DemoModule::printerIsShownAsGiven_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("shown");
    QTest::newRow("not given") << QStringList() << QStringLiteral("not given");
    // What a dashboard with no printer chosen passes.
    QTest::newRow("none chosen") << QStringList{ QStringLiteral("--p ,0") } << QStringLiteral("none chosen");
    QTest::newRow("suite printer") << QStringList{ QStringLiteral("--p P1,1") }
                                   << QStringLiteral("P1 (suite printer)");
    QTest::newRow("other printer") << QStringList{ QStringLiteral("--p P2,0") }
                                   << QStringLiteral("P2 (other printer)");
}

void tst_DemoModule::printerIsShownAsGiven()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, shown);
    auto module = startModule(QStringLiteral("/opt/korvex/bin/QVLabelEditor.exe"), arguments);
    const auto *printer = module->window()->findChild<QLabel *>(QStringLiteral("printer"));
    QVERIFY(printer);
    QCOMPARE(printer->text(), shown);
}

void tst_DemoModule::fileIsRecordedInTheModulesHistory_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("store");
    QTest::newRow("label designer") << "QVLabelEditor.exe" << "QVLabelEditor";
    QTest::newRow("pipe marking") << "PipeMarkingMain.exe" << "PipeMarking";
}

void tst_DemoModule::fileIsRecordedInTheModulesHistory()
{
    QFETCH(QString, program);
    QFETCH(QString, store);
    const QString first = m_labels.filePath(QStringLiteral("first label.kxld"));
    const QString second = m_labels.filePath(QStringLiteral("second.kxpm"));
    PrinterFixture::writeFile(first, "a");
    PrinterFixture::writeFile(second, "b");

    const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
    startModule(program, { QStringLiteral("--p P1,1"), first }).reset();
    startModule(program, { QString(), second }).reset();
    startModule(program, { QStringLiteral("--p P1,1"), first }).reset();

    const auto entries = history(store);
    QCOMPARE(entries.size(), 2);
    // Most recent first, one entry per file.
    QCOMPARE(entries.at(0).first, first);
    QCOMPARE(entries.at(1).first, second);
    const QDateTime viewed = QDateTime::fromString(entries.at(0).second,
                                                   FileControllerTools::DATE_FORMAT);
    QVERIFY2(viewed.isValid() && viewed >= before, qPrintable(entries.at(0).second));
    // The other modules' histories are untouched.
    for (const ModuleInfo &module : ModuleInfo::all())
        if (module.storeName != store)
            QVERIFY2(history(module.storeName).isEmpty(), qPrintable(module.storeName));
}

void tst_DemoModule::missingFileIsNotRecorded()
{
    const QString missing = m_labels.filePath(QStringLiteral("gone.kxld"));
    auto module = startModule(QStringLiteral("QVLabelEditor.exe"), { QString(), missing });
    QVERIFY(history(QStringLiteral("QVLabelEditor")).isEmpty());
    auto *status = module->window()->findChild<QLabel *>(QStringLiteral("fileStatus"));
    QVERIFY(status);
    QVERIFY2(status->text().contains(QStringLiteral("does not exist")), qPrintable(status->text()));
    QString error;
    QVERIFY(!module->recordFileView(m_labels.path(), &error));
    QVERIFY(!error.isEmpty());
}

void tst_DemoModule::broadcastsAreListed()
{
    auto module = startModule(QStringLiteral("NFPAMain.exe"), { QStringLiteral("--p P1,1") });
    // Reporting its printer made the dashboard look the printer up, which announced its
    // status to the modules.
    QCOMPARE(module->window()->broadcasts(), QStringList{ "StatusChanged: 0, P1, -, -" });
    m_bridge->helper->onStatusChanged(3, QStringLiteral("P1"));
    m_bridge->helper->onSupplyIdChanged(QStringLiteral("P1"));
    m_bridge->helper->onRibbonIdsChanged(QStringLiteral("P1"));
    QCOMPARE(module->window()->broadcasts(),
             (QStringList{ "StatusChanged: 0, P1, -, -", "StatusChanged: 3, P1, -, -", "SupplyChanged: SUP-1, P1, -, -",
                           "RibbonChanged: [R1], P1, -, -" }));
    QVERIFY(module->window()->isVisible());
}

void tst_DemoModule::closesOnCloseApplicationSignal()
{
    auto module = startModule(QStringLiteral("ArcFlashMain.exe"), { QStringLiteral("--p P1,1") });
    QSignalSpy closed(module.get(), &DemoModule::closed);
    QCOMPARE(m_bridge->helper->registeredModules().size(), 1);
    m_bridge->helper->closeApplicationRequest();
    QCOMPARE(closed.size(), 1);
    QVERIFY(!module->window()->isVisible());
    QVERIFY(m_bridge->helper->registeredModules().isEmpty());
    QVERIFY(!module->client()->isRegistered());
}

void tst_DemoModule::closesOnWindowClose()
{
    auto module = startModule(QStringLiteral("QVCatalog.exe"), {});
    QSignalSpy closed(module.get(), &DemoModule::closed);
    m_bridge->backend.sendMessage(WindowHandle(module->window()->winId()), WmClose, 0, 0);
    QCOMPARE(closed.size(), 1);
    QVERIFY(!module->window()->isVisible());
    QVERIFY(m_bridge->helper->registeredModules().isEmpty());
}

void tst_DemoModule::openButtonAsksTheDashboard()
{
    auto module = startModule(QStringLiteral("ArcFlashMain.exe"), { QStringLiteral("--p P1,1") });
    QSignalSpy open(m_bridge->helper.get(), &QVIPCHelper_win32::openLabel);
    const QString path = m_labels.filePath(QStringLiteral("plan.kxld"));
    module->window()->setPathToOpen(path);
    auto *button = module->window()->findChild<QPushButton *>(QStringLiteral("openButton"));
    QVERIFY(button);
    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(open.size(), 1);
    QCOMPARE(open.at(0).at(0).toString(), path);
    QVERIFY2(module->window()->openStatus().contains(path), qPrintable(module->window()->openStatus()));
}

void tst_DemoModule::openButtonWithoutPathIsRefused()
{
    auto module = startModule(QStringLiteral("ArcFlashMain.exe"), { QStringLiteral("--p P1,1") });
    QSignalSpy open(m_bridge->helper.get(), &QVIPCHelper_win32::openLabel);
    const int before = m_bridge->dashboardMessages;
    module->window()->setPathToOpen(QStringLiteral("   "));
    QTest::mouseClick(module->window()->findChild<QPushButton *>(QStringLiteral("openButton")),
                      Qt::LeftButton);
    QCOMPARE(open.size(), 0);
    QCOMPARE(m_bridge->dashboardMessages, before);
    QVERIFY(!module->window()->openStatus().isEmpty());
}

void tst_DemoModule::requestButtonShowsTheReply()
{
    auto module = startModule(QStringLiteral("QuenbyGHS.exe"), { QStringLiteral("--p P1,1") });
    auto *send = module->window()->findChild<QPushButton *>(QStringLiteral("sendButton"));
    QVERIFY(send);
    QTest::mouseClick(send, Qt::LeftButton); // printer names
    QTRY_COMPARE(module->window()->replyText(), QStringLiteral("getPrinterNames -> [P1, P2]"));

    auto *choice = module->window()->findChild<QComboBox *>(QStringLiteral("request"));
    QVERIFY(choice);
    choice->setCurrentIndex(3); // supply id of the printer in the field
    QCOMPARE(module->window()->requestArgument(), QStringLiteral("P1"));
    QTest::mouseClick(send, Qt::LeftButton);
    QTRY_COMPARE(module->window()->replyText(), QStringLiteral("getSupplyId -> SUP-1"));
}

void tst_DemoModule::runsWithoutADashboard()
{
    auto module = startModule(QStringLiteral("NFPAMain.exe"), {}, false);
    QVERIFY(module->window()->isVisible());
    QVERIFY(!module->client()->isRegistered());
    QCOMPARE(m_bridge->dashboardMessages, 0);
    module->window()->setPathToOpen(QStringLiteral("/a.kxld"));
    module->openInDashboard(module->window()->pathToOpen());
    QCOMPARE(m_bridge->dashboardMessages, 0);
    QVERIFY(module->window()->openStatus().contains(QStringLiteral("Not sent")));
}

void tst_DemoModule::unreachableDashboardIsShown()
{
    m_bridge->backend.destroyWindow(m_bridge->dashboard);
    auto module = startModule(QStringLiteral("NFPAMain.exe"), { QStringLiteral("--p P1,1") });
    QVERIFY(!module->client()->isRegistered());
    QVERIFY2(module->window()->openStatus().contains(QStringLiteral("cannot be reached")),
             qPrintable(module->window()->openStatus()));
}

void tst_DemoModule::eventLogFollowsTheModule()
{
    const QString logPath = m_labels.filePath(QStringLiteral("events.log"));
    const QString label = m_labels.filePath(QStringLiteral("asked.kxpm"));
    const QString opened = m_labels.filePath(QStringLiteral("opened.kxld"));
    PrinterFixture::writeFile(opened, "x");
    QSignalSpy open(m_bridge->helper.get(), &QVIPCHelper_win32::openLabel);
    auto module = startModule(QStringLiteral("QVLabelEditor.exe"), { QStringLiteral("--p P2,0"), opened },
                              true, [&](DemoModule *m) {
                                  m->setEventLog(logPath);
                                  m->setOpenOnStart(label);
                              });
    // Asked as soon as it was ready, as its button would.
    QCOMPARE(open.size(), 1);
    QCOMPARE(open.at(0).at(0).toString(), label);
    m_bridge->helper->closeApplicationRequest();
    const auto handle = quint64(module->client()->windowHandle());
    module.reset();

    QFile file(logPath);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList all = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    // Where the path field is laid out and where the keyboard is come between the protocol's
    // events; they are there for tests that click into the module.
    QStringList lines;
    QStringList layout;
    for (const QString &line : all)
        (line.startsWith(QLatin1String("path field ")) || line.startsWith(QLatin1String("focus ")) ? layout : lines) << line;
    QVERIFY2(!layout.isEmpty() && layout.first().startsWith(QLatin1String("path field ")), qPrintable(all.join(u'|')));
    const QString dashboard = QString::number(m_bridge->dashboard);
    QCOMPARE(lines, (QStringList{
                            "start QVLabelEditor.exe --dashboard " + dashboard + " --p P2,0 " + opened,
                            "file " + opened,
                            "ready " + QString::number(handle),
                            "broadcast StatusChanged: 4, P2, -, -",
                            "open " + label,
                            "broadcast CloseApplicationSignal: -, -, -, -",
                            "close CloseApplicationSignal",
                            "exit" }));
}

QTEST_MAIN(tst_DemoModule)
#include "tst_demomodule.moc"
