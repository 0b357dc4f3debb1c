#include "module_client.h"

#include "module_bridge.h"
#include "printer_fixture.h"

#include "native_window_system.h"

#include <QSignalSpy>
#include <QWindow>
#include <QtTest>

using namespace KorvexNative;
using Call = MemoryNativeWindowBackend::Call;

class tst_ModuleClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void registrationSendsTheModuleWindow();
    void registrationReachesTheDashboardList();
    void nothingIsSentWithoutBothWindows_data();
    void nothingIsSentWithoutBothWindows();
    void nothingIsSentToADeadDashboard();
    void reports_data();
    void reports();
    void reportsReachTheDashboardSignals();
    void destructionUnregisters();
    void requestGetsItsReply_data();
    void requestGetsItsReply();
    void repliesMatchTheirRequestsInOrder();
    void unansweredRequestTimesOut();
    void requestThatCannotBeSentIsRefused();
    void broadcasts_data();
    void broadcasts();
    void broadcastToTwoModules();
    void messagesForOtherWindowsAreLeftAlone();
    void windowCloseIsReportedNotConsumed();
    void directRecordThatAnswersNothing();
    void hostileBlocks_data();
    void hostileBlocks();
    void windowActivationAndClicksAreReported();
    void registeredIdsAreAskedOnce();

private:
    std::unique_ptr<PrinterFixture> m_printers;
    std::unique_ptr<ModuleBridge> m_bridge;
    std::unique_ptr<ModuleClient> m_client;
    WindowHandle m_module = 0;
};

void tst_ModuleClient::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    qRegisterMetaType<MessageStruct>();
}

void tst_ModuleClient::init()
{
    m_printers = std::make_unique<PrinterFixture>();
    m_printers->writePrinters(
            { PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1", { "R1", "R2" },
                                      "1.0.0-1", 3, false, true),
              PrinterFixture::printer("P2", "Generic PCL Driver", 4) });
    m_bridge = std::make_unique<ModuleBridge>();
    m_module = m_bridge->addModuleWindow();
    m_client = std::make_unique<ModuleClient>(&m_bridge->backend);
    m_client->setDashboardWindow(m_bridge->dashboard);
    m_client->setWindowHandle(m_module);
}

void tst_ModuleClient::cleanup()
{
    m_client.reset();
    m_bridge.reset();
    m_printers.reset();
}

void tst_ModuleClient::registrationSendsTheModuleWindow()
{
    QSignalSpy registered(m_client.get(), &ModuleClient::registeredChanged);
    QVERIFY(m_client->registerWithDashboard());
    QVERIFY(m_client->isRegistered());
    QCOMPARE(registered.size(), 1);
    QCOMPARE(registered.at(0).at(0).toBool(), true);

    const auto sends = m_bridge->backend.callsTo(QStringLiteral("SendMessageW"));
    QCOMPARE(sends.size(), 1);
    const QVariantList args = sends.at(0).arguments;
    QCOMPARE(args.at(0).toULongLong(), quint64(m_bridge->dashboard));
    QCOMPARE(args.at(1).toUInt(), m_bridge->backend.registeredMessageId("registerQVIPC"));
    QCOMPARE(args.at(2).toULongLong(), quint64(m_module));
    QCOMPARE(args.at(3).toLongLong(), 0);

    QVERIFY(m_client->unregisterFromDashboard());
    QVERIFY(!m_client->isRegistered());
    QCOMPARE(registered.size(), 2);
    QCOMPARE(registered.at(1).at(0).toBool(), false);
    const auto last = m_bridge->backend.callsTo(QStringLiteral("SendMessageW")).last();
    QCOMPARE(last.arguments.at(1).toUInt(),
             m_bridge->backend.registeredMessageId("unregisterQVIPC"));
    QCOMPARE(last.arguments.at(2).toULongLong(), quint64(m_module));
}

void tst_ModuleClient::registrationReachesTheDashboardList()
{
    QVERIFY(m_client->registerWithDashboard());
    QCOMPARE(m_bridge->helper->registeredModules(), QList<WindowHandle>{ m_module });
    QVERIFY(m_client->unregisterFromDashboard());
    QVERIFY(m_bridge->helper->registeredModules().isEmpty());
}

void tst_ModuleClient::nothingIsSentWithoutBothWindows_data()
{
    QTest::addColumn<bool>("withDashboard");
    QTest::addColumn<bool>("withWindow");
    QTest::newRow("no dashboard") << false << true;
    QTest::newRow("no module window") << true << false;
    QTest::newRow("neither") << false << false;
}

void tst_ModuleClient::nothingIsSentWithoutBothWindows()
{
    QFETCH(bool, withDashboard);
    QFETCH(bool, withWindow);
    m_client->setDashboardWindow(withDashboard ? m_bridge->dashboard : 0);
    m_client->setWindowHandle(withWindow ? m_module : 0);
    m_bridge->backend.clearCalls();
    QVERIFY(!m_client->registerWithDashboard());
    QVERIFY(!m_client->isRegistered());
    QVERIFY(!m_client->reportReady(QStringLiteral("X")));
    QVERIFY(!m_client->requestOpenLabelFile(QStringLiteral("/a.kxld")));
    QCOMPARE(m_client->sendRequest(1, QStringLiteral("getPrinterNames"), QStringLiteral("11QStringList"),
                                   { QStringLiteral("-") }),
             0);
    QCOMPARE(m_client->pendingRequestCount(), 0);
    QVERIFY(m_bridge->backend.callsTo(QStringLiteral("SendMessageW")).isEmpty());
}

void tst_ModuleClient::nothingIsSentToADeadDashboard()
{
    QVERIFY(m_client->registerWithDashboard());
    m_bridge->backend.destroyWindow(m_bridge->dashboard);
    m_bridge->backend.clearCalls();
    QVERIFY(!m_client->reportReady(QStringLiteral("X")));
    // The module takes itself off a list that no longer exists.
    QVERIFY(!m_client->unregisterFromDashboard());
    QVERIFY(!m_client->isRegistered());
    QVERIFY(m_bridge->backend.callsTo(QStringLiteral("SendMessageW")).isEmpty());
}

void tst_ModuleClient::reports_data()
{
    QTest::addColumn<QString>("report");
    QTest::addColumn<QString>("methodName");
    QTest::addColumn<QVariantList>("arguments");
    const QVariant window = QVariant(int(0)); // replaced by the module window below
    QTest::newRow("ready") << "ready" << "supplyModuleReady"
                           << QVariantList{ window, int(4321), QStringLiteral("NFPAMain.exe") };
    QTest::newRow("focused") << "focused" << "applicationFocused" << QVariantList{ true, window };
    QTest::newRow("unfocused") << "unfocused" << "applicationFocused" << QVariantList{ false, window };
    QTest::newRow("clicked") << "clicked" << "applicationWasClicked" << QVariantList{};
    QTest::newRow("printer") << "printer" << "setModulePrinterName"
                             << QVariantList{ QStringLiteral("Printer A, line 2") };
    QTest::newRow("open") << "open" << "openLabelFile"
                          << QVariantList{ QStringLiteral("/home/u/labels/Plan 1.kxld") };
}

void tst_ModuleClient::reports()
{
    QFETCH(QString, report);
    QFETCH(QString, methodName);
    QFETCH(QVariantList, arguments);
    bool sent = false;
    if (report == u"ready")
        sent = m_client->reportReady(QStringLiteral("NFPAMain.exe"), 4321);
    else if (report == u"focused" || report == u"unfocused")
        sent = m_client->reportFocused(report == u"focused");
    else if (report == u"clicked")
        sent = m_client->reportClicked();
    else if (report == u"printer")
        sent = m_client->reportPrinterName(arguments.at(0).toString());
    else if (report == u"open")
        sent = m_client->requestOpenLabelFile(arguments.at(0).toString());
    QVERIFY(sent);

    const auto sends = m_bridge->backend.callsTo(QStringLiteral("SendMessageW"));
    QCOMPARE(sends.size(), 1);
    const Call &call = sends.at(0);
    QCOMPARE(call.arguments.at(0).toULongLong(), quint64(m_bridge->dashboard));
    QCOMPARE(call.arguments.at(1).toUInt(), WmCopyData);
    // wParam names the sender, which is where the dashboard answers.
    QCOMPARE(call.arguments.at(2).toULongLong(), quint64(m_module));
    QVERIFY(call.hasCopyData);
    QCOMPARE(call.copyDataId, quint64(0));

    const QList<MessageStruct> records = m_bridge->recordsToDashboard();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.at(0).methodType, qint8(0));
    QCOMPARE(records.at(0).methodName, methodName);
    QVariantList expected = arguments;
    if (report == u"ready")
        expected[0] = int(m_module);
    if (report == u"focused" || report == u"unfocused")
        expected[1] = uint(m_module);
    QCOMPARE(records.at(0).arguments, expected);
}

void tst_ModuleClient::reportsReachTheDashboardSignals()
{
    QSignalSpy ready(m_bridge->helper.get(), &QVIPCHelper_win32::applicationReady);
    QSignalSpy focused(m_bridge->helper.get(), &QVIPCHelper_win32::applicationFocused);
    QSignalSpy clicked(m_bridge->helper.get(), &QVIPCHelper_win32::applicationClicked);
    QSignalSpy printer(m_bridge->helper.get(), &QVIPCHelper_win32::modulePrinterChangeSignal);
    QSignalSpy open(m_bridge->helper.get(), &QVIPCHelper_win32::openLabel);

    QVERIFY(m_client->registerWithDashboard());
    QVERIFY(m_client->reportReady(QStringLiteral("PipeMarkingMain.exe")));
    QVERIFY(m_client->reportFocused(true));
    QVERIFY(m_client->reportClicked());
    QVERIFY(m_client->reportPrinterName(QStringLiteral("P2")));
    QVERIFY(m_client->requestOpenLabelFile(QStringLiteral("/l/a.kxpm")));

    QCOMPARE(ready.size(), 1);
    QCOMPARE(ready.at(0).at(0).toInt(), int(m_module));
    QCOMPARE(ready.at(0).at(1).toLongLong(), QCoreApplication::applicationPid());
    QCOMPARE(ready.at(0).at(2).toString(), QStringLiteral("PipeMarkingMain.exe"));
    QCOMPARE(focused.size(), 1);
    QCOMPARE(focused.at(0).at(0).toBool(), true);
    QCOMPARE(focused.at(0).at(1).toUInt(), uint(m_module));
    QCOMPARE(clicked.size(), 1);
    QCOMPARE(printer.size(), 1);
    QCOMPARE(printer.at(0).at(0).toString(), QStringLiteral("P2"));
    QCOMPARE(open.size(), 1);
    QCOMPARE(open.at(0).at(0).toString(), QStringLiteral("/l/a.kxpm"));
}

void tst_ModuleClient::destructionUnregisters()
{
    QVERIFY(m_client->registerWithDashboard());
    QCOMPARE(m_bridge->helper->registeredModules().size(), 1);
    m_client.reset();
    QVERIFY(m_bridge->helper->registeredModules().isEmpty());

    // A client that never registered sends nothing when it goes.
    m_client = std::make_unique<ModuleClient>(&m_bridge->backend);
    m_client->setDashboardWindow(m_bridge->dashboard);
    m_client->setWindowHandle(m_module);
    m_bridge->backend.clearCalls();
    m_client.reset();
    QVERIFY(m_bridge->backend.callsTo(QStringLiteral("SendMessageW")).isEmpty());
}

void tst_ModuleClient::requestGetsItsReply_data()
{
    QTest::addColumn<int>("methodType");
    QTest::addColumn<QString>("methodName");
    QTest::addColumn<QString>("dataType");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QVariant>("expected");
    QTest::newRow("printer names") << 1 << "getPrinterNames" << "11QStringList"
                                   << QVariantList{ "-" } << QVariant(QStringList{ "P1", "P2" });
    QTest::newRow("printer status") << 1 << "getPrinterStatus" << "i"
                                    << QVariantList{ "P2", "-" } << QVariant(4);
    QTest::newRow("firmware") << 1 << "getFirmwareVersion" << "7QString"
                              << QVariantList{ "P1", "-" } << QVariant(QStringLiteral("1.0.0-1"));
    QTest::newRow("supply id") << 0 << "getSupplyId" << "7QString" << QVariantList{ "P1", "-" }
                               << QVariant(QStringLiteral("SUP-1"));
    QTest::newRow("ribbons") << 0 << "getRibbonIds" << "11QStringList" << QVariantList{ "P1", "-" }
                             << QVariant(QStringList{ "R1", "R2" });
    QTest::newRow("unknown method") << 0 << "noSuchMethod" << "i" << QVariantList{ "-" }
                                    << QVariant(0);
    // No object answers methodType 2: the reply carries the type's empty value.
    QTest::newRow("no third target") << 2 << "getPrinterNames" << "11QStringList"
                                     << QVariantList{ "-" } << QVariant(QStringList());
}

void tst_ModuleClient::requestGetsItsReply()
{
    QFETCH(int, methodType);
    QFETCH(QString, methodName);
    QFETCH(QString, dataType);
    QFETCH(QVariantList, arguments);
    QFETCH(QVariant, expected);
    QSignalSpy replies(m_client.get(), &ModuleClient::replyReceived);
    QSignalSpy timeouts(m_client.get(), &ModuleClient::requestTimedOut);

    const int id = m_client->sendRequest(qint8(methodType), methodName, dataType, arguments);
    QVERIFY(id > 0);
    // The dashboard answered inside the send; the signal still waits for the event loop.
    QCOMPARE(replies.size(), 0);
    QVERIFY(replies.wait(2000));
    QCOMPARE(replies.size(), 1);
    QCOMPARE(replies.at(0).at(0).toInt(), id);
    const auto reply = replies.at(0).at(1).value<MessageStruct>();
    QCOMPARE(reply.methodType, qint8(methodType));
    QCOMPARE(reply.methodName, methodName);
    QCOMPARE(reply.dataType, dataType);
    QCOMPARE(reply.arguments, arguments);
    QCOMPARE(reply.data, expected);
    QCOMPARE(m_client->pendingRequestCount(), 0);
    QCOMPARE(timeouts.size(), 0);
}

void tst_ModuleClient::repliesMatchTheirRequestsInOrder()
{
    QSignalSpy replies(m_client.get(), &ModuleClient::replyReceived);
    const int first = m_client->sendRequest(1, QStringLiteral("getPrinterStatus"), QStringLiteral("i"),
                                            { QStringLiteral("P2"), QStringLiteral("-") });
    const int second = m_client->sendRequest(1, QStringLiteral("getPrinterStatus"), QStringLiteral("i"),
                                             { QStringLiteral("P1"), QStringLiteral("-") });
    const int third = m_client->sendRequest(1, QStringLiteral("getPrinterStatus"), QStringLiteral("i"),
                                            { QStringLiteral("P2"), QStringLiteral("-") });
    QVERIFY(first > 0 && second > first && third > second);
    QTRY_COMPARE(replies.size(), 3);
    QCOMPARE(replies.at(0).at(0).toInt(), first);
    QCOMPARE(replies.at(0).at(1).value<MessageStruct>().data, QVariant(4));
    QCOMPARE(replies.at(1).at(0).toInt(), second);
    QCOMPARE(replies.at(1).at(1).value<MessageStruct>().data, QVariant(0));
    QCOMPARE(replies.at(2).at(0).toInt(), third);
}

void tst_ModuleClient::unansweredRequestTimesOut()
{
    // The dashboard drops records whose methodType is not 0, 1 or 2: no reply ever comes.
    QSignalSpy replies(m_client.get(), &ModuleClient::replyReceived);
    QSignalSpy timeouts(m_client.get(), &ModuleClient::requestTimedOut);
    m_client->setRequestTimeout(50);
    const int id = m_client->sendRequest(3, QStringLiteral("getPrinterNames"),
                                         QStringLiteral("11QStringList"), { QStringLiteral("-") });
    QVERIFY(id > 0);
    QCOMPARE(m_client->pendingRequestCount(), 1);
    QVERIFY(timeouts.wait(2000));
    QCOMPARE(timeouts.at(0).at(0).toInt(), id);
    QCOMPARE(timeouts.at(0).at(1).value<MessageStruct>().methodType, qint8(3));
    QCOMPARE(timeouts.at(0).at(1).value<MessageStruct>().methodName, QStringLiteral("getPrinterNames"));
    QCOMPARE(m_client->pendingRequestCount(), 0);
    QCOMPARE(replies.size(), 0);
}

void tst_ModuleClient::requestThatCannotBeSentIsRefused()
{
    m_bridge->backend.destroyWindow(m_bridge->dashboard);
    QSignalSpy timeouts(m_client.get(), &ModuleClient::requestTimedOut);
    QCOMPARE(m_client->sendRequest(1, QStringLiteral("getPrinterNames"),
                                   QStringLiteral("11QStringList"), { QStringLiteral("-") }),
             0);
    QCOMPARE(m_client->pendingRequestCount(), 0);
}

void tst_ModuleClient::broadcasts_data()
{
    QTest::addColumn<QString>("trigger");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariantList>("arguments");
    QTest::newRow("status") << "status" << "StatusChanged"
                            << QVariantList{ 3, "P1", "-", "-" };
    QTest::newRow("supply") << "supply" << "SupplyChanged"
                            << QVariantList{ "SUP-1", "P1", "-", "-" };
    QTest::newRow("ribbon") << "ribbon" << "RibbonChanged"
                            << QVariantList{ QStringList{ "R1", "R2" }, "P1", "-", "-" };
    QTest::newRow("close") << "close" << "CloseApplicationSignal"
                           << QVariantList{ "-", "-", "-", "-" };
}

void tst_ModuleClient::broadcasts()
{
    QFETCH(QString, trigger);
    QFETCH(QString, name);
    QFETCH(QVariantList, arguments);
    QVERIFY(m_client->registerWithDashboard());
    QSignalSpy all(m_client.get(), &ModuleClient::broadcastReceived);
    QSignalSpy status(m_client.get(), &ModuleClient::statusChanged);
    QSignalSpy supply(m_client.get(), &ModuleClient::supplyChanged);
    QSignalSpy ribbon(m_client.get(), &ModuleClient::ribbonChanged);
    QSignalSpy close(m_client.get(), &ModuleClient::closeApplicationRequested);

    QVIPCHelper_win32 *helper = m_bridge->helper.get();
    if (trigger == u"status")
        helper->onStatusChanged(3, QStringLiteral("P1"));
    else if (trigger == u"supply")
        helper->onSupplyIdChanged(QStringLiteral("P1"));
    else if (trigger == u"ribbon")
        helper->onRibbonIdsChanged(QStringLiteral("P1"));
    else
        helper->closeApplicationRequest();

    QCOMPARE(all.size(), 1);
    QCOMPARE(all.at(0).at(0).toString(), name);
    QCOMPARE(all.at(0).at(1).toList(), arguments);
    QCOMPARE(status.size(), trigger == u"status" ? 1 : 0);
    QCOMPARE(supply.size(), trigger == u"supply" ? 1 : 0);
    QCOMPARE(ribbon.size(), trigger == u"ribbon" ? 1 : 0);
    QCOMPARE(close.size(), trigger == u"close" ? 1 : 0);
    if (trigger == u"status") {
        QCOMPARE(status.at(0).at(0).toInt(), 3);
        QCOMPARE(status.at(0).at(1).toString(), QStringLiteral("P1"));
    } else if (trigger == u"supply") {
        QCOMPARE(supply.at(0).at(0).toString(), QStringLiteral("SUP-1"));
        QCOMPARE(supply.at(0).at(1).toString(), QStringLiteral("P1"));
    } else if (trigger == u"ribbon") {
        QCOMPARE(ribbon.at(0).at(0).toStringList(), (QStringList{ "R1", "R2" }));
        QCOMPARE(ribbon.at(0).at(1).toString(), QStringLiteral("P1"));
    }
}

void tst_ModuleClient::broadcastToTwoModules()
{
    const WindowHandle otherWindow = m_bridge->addModuleWindow();
    ModuleClient other(&m_bridge->backend);
    other.setDashboardWindow(m_bridge->dashboard);
    other.setWindowHandle(otherWindow);
    QVERIFY(m_client->registerWithDashboard());
    QVERIFY(other.registerWithDashboard());
    QSignalSpy first(m_client.get(), &ModuleClient::statusChanged);
    QSignalSpy second(&other, &ModuleClient::statusChanged);
    m_bridge->helper->onStatusChanged(2, QStringLiteral("P2"));
    // Each client hears the message sent to its own window only.
    QCOMPARE(first.size(), 1);
    QCOMPARE(second.size(), 1);
    QCOMPARE(second.at(0).at(1).toString(), QStringLiteral("P2"));
    QVERIFY(other.unregisterFromDashboard());
    m_bridge->helper->onStatusChanged(1, QStringLiteral("P2"));
    QCOMPARE(first.size(), 2);
    QCOMPARE(second.size(), 1);
}

void tst_ModuleClient::messagesForOtherWindowsAreLeftAlone()
{
    QSignalSpy all(m_client.get(), &ModuleClient::broadcastReceived);
    MessageStruct record;
    record.arguments = { 1, QStringLiteral("P1") };
    const quint64 status = NativeWindowSystem::registerWindowMessage(&m_bridge->backend,
                                                                     QStringLiteral("StatusChanged"));
    QCOMPARE(ModuleBridge::deliverCopyData(m_module + 0x10000, status, QVIPCMessage::encode(record)), 0);
    QCOMPARE(all.size(), 0);
    // Events of another type are not this backend's messages at all.
    Message msg{ m_module, WmCopyData, 0, 0, 0, { 0, 0 }, 0 };
    qintptr result = 0;
    QVERIFY(!m_client->nativeEventFilter(QByteArray("xcb_generic_event_t"), &msg, &result));
    QVERIFY(!m_client->nativeEventFilter(QByteArray(MemoryNativeWindowBackend::EVENT_TYPE), nullptr,
                                         &result));
    QCOMPARE(ModuleBridge::deliverCopyData(m_module, status, QVIPCMessage::encode(record)), 1);
    QCOMPARE(all.size(), 1);
}

void tst_ModuleClient::windowCloseIsReportedNotConsumed()
{
    QSignalSpy closing(m_client.get(), &ModuleClient::windowCloseRequested);
    Message msg{ m_module, WmClose, 0, 0, 0, { 0, 0 }, 0 };
    qintptr result = 0;
    // Qt (or the window system) still does the closing.
    QVERIFY(!m_client->nativeEventFilter(QByteArray(MemoryNativeWindowBackend::EVENT_TYPE), &msg,
                                         &result));
    QCOMPARE(closing.size(), 1);
    // The dashboard's embedded item closes a module by sending WM_CLOSE.
    m_bridge->backend.sendMessage(m_module, WmClose, 0, 0);
    QCOMPARE(closing.size(), 2);
}

void tst_ModuleClient::directRecordThatAnswersNothing()
{
    QSignalSpy direct(m_client.get(), &ModuleClient::messageReceived);
    QSignalSpy replies(m_client.get(), &ModuleClient::replyReceived);
    MessageStruct record;
    record.methodType = 1;
    record.methodName = QStringLiteral("getPrinterNames");
    record.dataType = QStringLiteral("11QStringList");
    record.data = QStringList{ "X" };
    QCOMPARE(ModuleBridge::deliverCopyData(m_module, 0, QVIPCMessage::encode(record)), 1);
    QCOMPARE(direct.size(), 1);
    QCOMPARE(direct.at(0).at(0).value<MessageStruct>(), record);
    QCoreApplication::processEvents();
    QCOMPARE(replies.size(), 0);
}

void tst_ModuleClient::hostileBlocks_data()
{
    QTest::addColumn<quint64>("dwData");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("direct");
    QTest::newRow("empty reply block") << quint64(0) << QByteArray() << 1;
    QTest::newRow("garbage reply block") << quint64(0) << QByteArray("\x01\xff\xff\xff\xfe zz", 9) << 1;
    QTest::newRow("unknown id") << quint64(0xC777) << QVIPCMessage::encode(MessageStruct()) << 0;
    QTest::newRow("id beyond 32 bits") << (quint64(1) << 40) << QVIPCMessage::encode(MessageStruct()) << 0;
    QByteArray lying = QVIPCMessage::encode(MessageStruct());
    lying[1] = '\x7f'; // a method name far longer than the block
    QTest::newRow("lying length") << quint64(0) << lying << 1;
}

void tst_ModuleClient::hostileBlocks()
{
    QFETCH(quint64, dwData);
    QFETCH(QByteArray, bytes);
    QFETCH(int, direct);
    QSignalSpy all(m_client.get(), &ModuleClient::broadcastReceived);
    QSignalSpy directs(m_client.get(), &ModuleClient::messageReceived);
    ModuleBridge::deliverCopyData(m_module, dwData, bytes);
    QCOMPARE(all.size(), 0);
    QCOMPARE(directs.size(), direct);

    // A broadcast whose block is garbage still counts as the broadcast, with what was read.
    QSignalSpy status(m_client.get(), &ModuleClient::statusChanged);
    const quint64 statusId = m_client->messageId(QStringLiteral("StatusChanged"));
    ModuleBridge::deliverCopyData(m_module, statusId, bytes);
    QCOMPARE(status.size(), 1);

    // No block at all.
    CopyDataStruct noData{ 0, 12, nullptr };
    ModuleBridge::deliverToFilters(m_module, WmCopyData, 0, reinterpret_cast<LParam>(&noData));
    ModuleBridge::deliverToFilters(m_module, WmCopyData, 0, 0);
    QCOMPARE(directs.size(), direct);
}

void tst_ModuleClient::windowActivationAndClicksAreReported()
{
    QWindow window;
    window.resize(200, 100);
    window.create();
    m_bridge->backend.adoptWindow(WindowHandle(window.winId()));
    m_bridge->connectModuleWindow(WindowHandle(window.winId()));
    m_client->setWindow(&window);
    QCOMPARE(m_client->windowHandle(), WindowHandle(window.winId()));
    QSignalSpy focused(m_bridge->helper.get(), &QVIPCHelper_win32::applicationFocused);
    QSignalSpy clicked(m_bridge->helper.get(), &QVIPCHelper_win32::applicationClicked);

    // Not registered yet: the window's events are the module's business only.
    QFocusEvent focusIn(QEvent::FocusIn);
    QCoreApplication::sendEvent(&window, &focusIn);
    QCOMPARE(focused.size(), 0);

    QVERIFY(m_client->registerWithDashboard());
    QCoreApplication::sendEvent(&window, &focusIn);
    QFocusEvent focusOut(QEvent::FocusOut);
    QCoreApplication::sendEvent(&window, &focusOut);
    QCOMPARE(focused.size(), 2);
    QCOMPARE(focused.at(0).at(0).toBool(), true);
    QCOMPARE(focused.at(0).at(1).toUInt(), uint(window.winId()));
    QCOMPARE(focused.at(1).at(0).toBool(), false);

    QTest::mouseClick(&window, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
    QCOMPARE(clicked.size(), 1);
}

void tst_ModuleClient::registeredIdsAreAskedOnce()
{
    QVERIFY(m_client->registerWithDashboard());
    QVERIFY(m_client->unregisterFromDashboard());
    QVERIFY(m_client->registerWithDashboard());
    int asked = 0;
    for (const Call &call : m_bridge->backend.callsTo(QStringLiteral("RegisterWindowMessageW")))
        if (call.arguments.value(0).toString() == u"registerQVIPC")
            ++asked;
    // The dashboard's helper asks for "registerQVIPC" on every message it parses; the client
    // asked once for its three messages.
    QCOMPARE(m_bridge->dashboardMessages, 3);
    QCOMPARE(asked, 1 + m_bridge->dashboardMessages);
    QCOMPARE(m_client->messageId(QStringLiteral("registerQVIPC")),
             m_bridge->backend.registeredMessageId(QStringLiteral("registerQVIPC")));
}

QTEST_MAIN(tst_ModuleClient)
#include "tst_moduleclient.moc"
