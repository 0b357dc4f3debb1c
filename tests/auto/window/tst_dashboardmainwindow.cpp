#include "Controllers/launcher_controller.h"
#include "Controllers/qvipchelper_win32.h"
#include "dashboard_app_window.h"
#include "dashboard_main_window.h"
#include "dashboard_settings.h"
#include "native_window_system.h"
#include "platforms/memory/memory_native_window_backend.h"

#include "printing/printer_latest_versions.h"
#include "printing/printer_status_controller.h"

#include "log_capture.h"
#include "printer_fixture.h"

#include <QPointer>
#include <QScreen>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

using namespace KorvexNative;

namespace {

// Opens the protected overrides, to check what they return.
class ExposedMainWindow : public DashboardMainWindow
{
public:
    using DashboardMainWindow::DashboardMainWindow;
    using DashboardMainWindow::eventFilter;
    using DashboardMainWindow::nativeEvent;
};

const QString ZEROS = QStringLiteral("000000000000000000000000000000000000");

// A label file the launcher accepts: it must exist.
QString labelFile(const QTemporaryDir &dir, const QString &name)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write("label");
    return path;
}

} // namespace

class tst_DashboardMainWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void constructionState();
    void constructionWiring();
    void firstFirmwareCheckArrivesAfterConstruction();
    void printerListChangesRunTheCheckAgain();
    void activeDefaultPrinterReachesTheLauncher();
    void destructionSavesAndReleases();
    void dpiFollowsTheScreen();
    void windowStateTracking();
    void geometryTracking();
    void showEventPublishesTheId();
    void activationEvents_data();
    void activationEvents();
    void nativeMessagesReachTheHelper();
    void foreignNativeEventsAreLeftAlone();
    void moduleEmbeddedAfterApplicationReady();
    void firmwareCheck_data();
    void firmwareCheck();
    void checkingClearsTheFlag();
    void forwardsToTheLauncher();

private:
    std::unique_ptr<ExposedMainWindow> makeWindow();

    std::unique_ptr<PrinterFixture> m_printers;
    std::unique_ptr<MemoryNativeWindowBackend> m_backend;
    std::unique_ptr<NativeWindowSystem::ScopedBackend> m_scope;
};

void tst_DashboardMainWindow::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_DashboardMainWindow::init()
{
    DashboardSettings::openDashboardStore()->clear();
    m_printers = std::make_unique<PrinterFixture>();
    m_printers->writePrinters({ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1",
                                                        { "R1" }, "1.0.0-1", 3, false, true),
                                PrinterFixture::printer("P2", "Generic PCL Driver", 4) });
    m_printers->writeManifest({ { 3, QStringLiteral("1.0.0-1") } });
    m_backend = std::make_unique<MemoryNativeWindowBackend>();
    m_scope = std::make_unique<NativeWindowSystem::ScopedBackend>(m_backend.get());
}

void tst_DashboardMainWindow::cleanup()
{
    m_scope.reset();
    m_backend.reset();
    m_printers.reset();
}

std::unique_ptr<ExposedMainWindow> tst_DashboardMainWindow::makeWindow()
{
    return std::make_unique<ExposedMainWindow>(nullptr, m_backend.get());
}

void tst_DashboardMainWindow::constructionState()
{
    auto window = makeWindow();
    QCOMPARE(window->windowId(), 0u);
    QCOMPARE(window->windowTitlebarHeight(), 31u);
    QCOMPARE(window->property("windowTitlebarHeight").toUInt(), 31u);
    QCOMPARE(window->dpiScale(), window->screen()->devicePixelRatio());
    QCOMPARE(window->windowStateValue(), int(Qt::WindowNoState));
    QVERIFY(!window->isActive());
    QVERIFY(!window->isPrinterUpdateAvailable());
    QVERIFY(!window->isVisible()); // restoring does not show the window

    // Ownership: the printer status controller is the window's child; the rest have no parent.
    QVERIFY(window->getPrinterStatusController());
    QCOMPARE(window->getPrinterStatusController()->parent(), window.get());
    QVERIFY(window->launcher());
    QVERIFY(!window->launcher()->parent());
    QVERIFY(window->messagingHelper());
    QVERIFY(!window->messagingHelper()->parent());
    QVERIFY(window->printerVersions());
    QVERIFY(!window->printerVersions()->parent());
    // QML reaches the controller through the invokable.
    PrinterStatusController *fromQml = nullptr;
    QVERIFY(QMetaObject::invokeMethod(window.get(), "getPrinterStatusController",
                                      Q_RETURN_ARG(PrinterStatusController *, fromQml)));
    QCOMPARE(fromQml, window->getPrinterStatusController());
}

void tst_DashboardMainWindow::constructionWiring()
{
    auto window = makeWindow();
    QSignalSpy ready(window.get(), &DashboardMainWindow::applicationReady);
    QSignalSpy focused(window.get(), &DashboardMainWindow::applicationFocused);
    Q_EMIT window->messagingHelper()->applicationReady(1234, 5678, QStringLiteral("Arc Flash"));
    Q_EMIT window->messagingHelper()->applicationFocused(true, 42);
    QCOMPARE(ready.count(), 1);
    QCOMPARE(ready.takeFirst(), (QVariantList{ 1234, 5678, "Arc Flash" }));
    QCOMPARE(focused.count(), 1);
    QCOMPARE(focused.takeFirst(), (QVariantList{ true, 42u }));

    // openLabel starts the module of the file through the launcher.
    QTemporaryDir labels;
    const QString label = labelFile(labels, QStringLiteral("a.kxpm"));
    LogCapture log;
    Q_EMIT window->messagingHelper()->openLabel(label);
    QStringList starts;
    for (const QString &line : log.messages())
        if (line.startsWith(QLatin1String("Starting ")))
            starts << line;
    QCOMPARE(starts, QStringList{ "Starting PipeMarkingMain.exe --dashboard 0 --p P1,1 " + label });

    // The printer status controller's events reach the helper (which broadcasts them).
    const WindowHandle module = m_backend->addWindow();
    window->messagingHelper()->checkQVIPCRegistered(module);
    m_backend->clearCalls();
    Q_EMIT window->getPrinterStatusController()->statusChangedSignal(5, QStringLiteral("P1"));
    QCOMPARE(m_backend->callsTo(QStringLiteral("SendMessageW")).size(), 1);
}

void tst_DashboardMainWindow::firstFirmwareCheckArrivesAfterConstruction()
{
    // The check starts in the constructor, before its result is connected; the result comes
    // from the event loop and so still reaches the window.
    m_printers->writeManifest({ { 3, QStringLiteral("1.0.1-1") } });
    auto window = makeWindow();
    QSignalSpy changed(window.get(), &DashboardMainWindow::isPrinterUpdateAvailableChanged);
    QVERIFY(!window->isPrinterUpdateAvailable());
    QTRY_COMPARE(changed.count(), 1);
    QCOMPARE(changed.takeFirst(), QVariantList{ true });
    QVERIFY(window->isPrinterUpdateAvailable());
}

void tst_DashboardMainWindow::printerListChangesRunTheCheckAgain()
{
    auto window = makeWindow();
    QSignalSpy changed(window.get(), &DashboardMainWindow::isPrinterUpdateAvailableChanged);
    QTRY_COMPARE(changed.count(), 1);
    QCOMPARE(changed.takeFirst(), QVariantList{ false });

    // Somebody edits the file: P1 now runs older firmware.
    m_printers->writePrinters({ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1",
                                                        { "R1" }, "0.9.0-1", 3, false, true),
                                PrinterFixture::printer("P2", "Generic PCL Driver", 4) },
                              false);
    // First the check clears the flag, then its result sets it.
    QTRY_COMPARE(changed.count(), 2);
    QCOMPARE(changed.at(0), QVariantList{ false });
    QCOMPARE(changed.at(1), QVariantList{ true });
    QVERIFY(window->isPrinterUpdateAvailable());
    // Only the printer behind is named; the other is no printer of the suite.
    QCOMPARE(window->printersWithNewerFirmware(), QStringList { QStringLiteral("P1") });

    // Both of the suite's printers behind, then neither: the list follows each check.
    m_printers->writePrinters({ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1",
                                                        { "R1" }, "0.9.0-1", 3, false, true),
                                PrinterFixture::printer("P3", "Ondrel X100 Series", 0, "SUP-3",
                                                        { "R1" }, "0.8.0-1", 3) },
                              false);
    QTRY_COMPARE(changed.count(), 4);
    QCOMPARE(window->printersWithNewerFirmware(), (QStringList { QStringLiteral("P1"), QStringLiteral("P3") }));
    m_printers->writePrinters({ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1",
                                                        { "R1" }, "1.0.1-1", 3, false, true) },
                              false);
    QTRY_COMPARE(changed.count(), 6);
    QCOMPARE(changed.at(5), QVariantList{ false });
    QVERIFY(window->printersWithNewerFirmware().isEmpty());
}

void tst_DashboardMainWindow::activeDefaultPrinterReachesTheLauncher()
{
    auto window = makeWindow();
    window->show();
    const uint id = window->windowId();
    LogCapture log;
    // The default printer changes to one that is not the suite's own.
    m_printers->writePrinters({ PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1",
                                                        { "R1" }, "1.0.0-1", 3),
                                PrinterFixture::printer("P2", "Generic PCL Driver", 4, QString(),
                                                        {}, QString(), 0, false, true) },
                              false);
    QTRY_COMPARE(window->getPrinterStatusController()->activeDefaultPrinter(), QStringLiteral("P2"));
    QTemporaryDir labels;
    const QString label = labelFile(labels, QStringLiteral("b.kxld"));
    window->launchLabelFile(label);
    QStringList starts;
    for (const QString &line : log.messages())
        if (line.startsWith(QLatin1String("Starting ")))
            starts << line;
    QCOMPARE(starts, QStringList{ QStringLiteral("Starting QVLabelEditor.exe --dashboard %1 --p P2,0 %2")
                                          .arg(id)
                                          .arg(label) });
}

void tst_DashboardMainWindow::destructionSavesAndReleases()
{
    auto window = makeWindow();
    window->setGeometry(QRect(200, 150, 1024, 600));
    QPointer<LauncherController> launcher = window->launcher();
    QPointer<QVIPCHelper_win32> helper = window->messagingHelper();
    QPointer<PrinterStatusController> printerStatus = window->getPrinterStatusController();
    QPointer<PrinterLatestVersions> versions = window->printerVersions();
    window.reset();
    QVERIFY(!launcher);
    QVERIFY(!helper);
    QVERIFY(!printerStatus);
    QVERIFY(!versions);
    const auto store = DashboardSettings::openDashboardStore();
    QCOMPARE(store->value("windowGeometry").toRect(), QRect(200, 181, 1024, 600));
    QCOMPARE(store->value("windowState").toInt(), 0);
    QVERIFY(!store->value("displayName").toString().isEmpty());
}

void tst_DashboardMainWindow::dpiFollowsTheScreen()
{
    const QList<QScreen *> screens = QGuiApplication::screens();
    QVERIFY2(screens.size() == 2, "runs on the two-screen desktop");
    QScreen *first = screens.at(0);
    QScreen *second = screens.at(1);
    QCOMPARE(second->devicePixelRatio(), 2.0);

    auto window = makeWindow();
    QCOMPARE(window->screen(), first);
    QCOMPARE(window->dpiScale(), 1.0);
    QSignalSpy dpi(window.get(), &DashboardMainWindow::dpiScaleChanged);

    // Same ratio: nothing.
    QVERIFY(QMetaObject::invokeMethod(window.get(), "updateDPIScaling"));
    QCOMPARE(dpi.count(), 0);
    // A null screen is ignored.
    QVERIFY(QMetaObject::invokeMethod(window.get(), "onScreenChanged",
                                      Q_ARG(QScreen *, nullptr)));
    QCOMPARE(dpi.count(), 0);

    window->setScreen(second);
    QCOMPARE(dpi.count(), 1);
    QCOMPARE(dpi.takeFirst(), QVariantList{ 2.0 });
    QCOMPARE(window->dpiScale(), 2.0);
    QCOMPARE(window->property("dpiScale").toDouble(), 2.0);

    window->setScreen(first);
    QCOMPARE(dpi.count(), 1);
    QCOMPARE(dpi.takeFirst(), QVariantList{ 1.0 });

    // The DPI connection stays on the first screen by design.
    QVERIFY(QObject::disconnect(first, &QScreen::physicalDotsPerInchChanged, window.get(), nullptr));
    QVERIFY(!QObject::disconnect(second, &QScreen::physicalDotsPerInchChanged, window.get(), nullptr));
}

void tst_DashboardMainWindow::windowStateTracking()
{
    auto window = makeWindow();
    QSignalSpy state(window.get(), qOverload<int>(&DashboardMainWindow::windowStateChanged));
    QVERIFY(QMetaObject::invokeMethod(window.get(), "updateWindowState",
                                      Q_ARG(Qt::WindowState, Qt::WindowMinimized)));
    QCOMPARE(state.count(), 1);
    QCOMPARE(state.takeFirst(), QVariantList{ 1 });
    QCOMPARE(window->windowStateValue(), 1);
    // Emitted every time, changed or not.
    QVERIFY(QMetaObject::invokeMethod(window.get(), "updateWindowState",
                                      Q_ARG(Qt::WindowState, Qt::WindowMinimized)));
    QCOMPARE(state.count(), 1);

    // Qt's own state changes reach it.
    window->show();
    window->setWindowState(Qt::WindowMaximized);
    QTRY_COMPARE(window->windowStateValue(), int(Qt::WindowMaximized));
    QVERIFY(!state.isEmpty());
    QCOMPARE(state.last(), QVariantList{ 2 });
    QCOMPARE(window->property("windowState").toInt(), 2);
}

void tst_DashboardMainWindow::geometryTracking()
{
    auto window = makeWindow();
    window->setGeometry(QRect(100, 120, 900, 700));
    QCOMPARE(window->normalGeometry(), QRect(100, 120, 900, 700));
    window->setX(130);
    QCOMPARE(window->normalGeometry(), QRect(130, 120, 900, 700));

    // While maximised the normal geometry is kept.
    window->show();
    window->setWindowState(Qt::WindowMaximized);
    QTRY_COMPARE(window->windowState(), Qt::WindowMaximized);
    window->setGeometry(QRect(0, 0, 1920, 1080));
    QVERIFY(QMetaObject::invokeMethod(window.get(), "updateWindowGeometry"));
    QCOMPARE(window->normalGeometry(), QRect(130, 120, 900, 700));
}

void tst_DashboardMainWindow::showEventPublishesTheId()
{
    auto window = makeWindow();
    QSignalSpy id(window.get(), &DashboardMainWindow::windowIdChanged);
    LogCapture log;
    window->show();
    QCOMPARE(id.count(), 1);
    const uint expected = uint(window->winId());
    QVERIFY(expected != 0);
    QCOMPARE(id.takeFirst(), QVariantList{ expected });
    QCOMPARE(window->windowId(), expected);
    const auto lines = log.linesWithMessage(QStringLiteral("Dashboard Window ID: %1").arg(expected));
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines[0].category, QByteArray("korvex.dashboard.window"));
    QCOMPARE(lines[0].type, QtDebugMsg);

    // Every show publishes it again.
    window->hide();
    window->show();
    QCOMPARE(id.count(), 1);
    QCOMPARE(id.takeFirst(), QVariantList{ expected });

    // The launcher passes it to the modules.
    log.clear();
    window->launchApplication(DashboardGlobal::APP_NFPA);
    QVERIFY(log.messages().contains(
            QStringLiteral("Starting NFPAMain.exe --dashboard %1 --p P1,1").arg(expected)));
}

void tst_DashboardMainWindow::activationEvents_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("active");
    QTest::newRow("WindowActivate") << int(QEvent::WindowActivate) << true;
    QTest::newRow("ApplicationActivate") << int(QEvent::ApplicationActivate) << true;
    QTest::newRow("WindowDeactivate") << int(QEvent::WindowDeactivate) << false;
    QTest::newRow("ApplicationDeactivate") << int(QEvent::ApplicationDeactivate) << false;
}

void tst_DashboardMainWindow::activationEvents()
{
    QFETCH(int, type);
    QFETCH(bool, active);
    QCOMPARE(int(QEvent::WindowActivate), 24);
    QCOMPARE(int(QEvent::ApplicationDeactivate), 122);
    auto window = makeWindow();
    QSignalSpy spy(window.get(), &DashboardMainWindow::isActiveChanged);
    QEvent event{ QEvent::Type(type) };
    // Not filtered out, and emitted on every event, changed or not.
    QVERIFY(!window->eventFilter(window.get(), &event));
    QVERIFY(!window->eventFilter(window.get(), &event));
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(0), QVariantList{ active });
    QCOMPARE(window->isActive(), active);

    // Delivered to the window, the event passes the window's own filter.
    QEvent delivered{ QEvent::Type(type) };
    QCoreApplication::sendEvent(window.get(), &delivered);
    QCOMPARE(spy.count(), 3);
    QCOMPARE(window->property("isActive").toBool(), active);
}

void tst_DashboardMainWindow::nativeMessagesReachTheHelper()
{
    auto window = makeWindow();
    window->show();
    const WindowHandle module = m_backend->addWindow();
    const MessageId registerId = m_backend->registerMessageName(QStringLiteral("registerQVIPC"));
    qintptr result = 0;
    QVERIFY(!MemoryNativeWindowBackend::deliverMessage(window.get(), registerId, module, 0, &result));
    QCOMPARE(window->messagingHelper()->registeredModules(), QList<WindowHandle>{ module });

    QSignalSpy ready(window.get(), &DashboardMainWindow::applicationReady);
    MessageStruct report;
    report.methodName = QStringLiteral("supplyModuleReady");
    report.arguments = { int(module), 4321, QStringLiteral("Label Designer") };
    QVERIFY(!MemoryNativeWindowBackend::deliverCopyData(window.get(), module, 0,
                                                        QVIPCMessage::encode(report)));
    QCOMPARE(ready.count(), 1);
    QCOMPARE(ready.takeFirst(), (QVariantList{ int(module), 4321, "Label Designer" }));

    // Through the exposed override too: never consumed.
    Message msg{};
    msg.message = registerId;
    msg.wParam = module;
    QVERIFY(!window->nativeEvent(QByteArray(MemoryNativeWindowBackend::EVENT_TYPE), &msg, &result));
    QCOMPARE(window->messagingHelper()->registeredModules(), (QList<WindowHandle>{ module, module }));
}

void tst_DashboardMainWindow::foreignNativeEventsAreLeftAlone()
{
    auto window = makeWindow();
    Message msg{};
    msg.message = m_backend->registerMessageName(QStringLiteral("registerQVIPC"));
    msg.wParam = 0x1234;
    qintptr result = 0;
    m_backend->clearCalls();
    // Another window system's event is not a window message of this backend.
    QVERIFY(!window->nativeEvent(QByteArrayLiteral("xcb_generic_event_t"), &msg, &result));
    QVERIFY(!window->nativeEvent(QByteArrayLiteral("korvex_memory_MSG_"), &msg, &result));
    QVERIFY(!window->nativeEvent(QByteArray(MemoryNativeWindowBackend::EVENT_TYPE), nullptr, &result));
    QVERIFY(window->messagingHelper()->registeredModules().isEmpty());
    QVERIFY(m_backend->calls().isEmpty());
}

void tst_DashboardMainWindow::moduleEmbeddedAfterApplicationReady()
{
    // The whole path: a module announces itself, the interface embeds its window in an item of
    // the main window, the module ends and the item goes away.
    auto window = makeWindow();
    window->contentItem()->setSize(QSizeF(1024, 600));
    window->show();
    m_backend->adoptWindow(WindowHandle(window->winId()));
    const WindowHandle module = m_backend->addWindow();

    QPointer<DashboardAppWindow> embedded;
    connect(window.get(), &DashboardMainWindow::applicationReady, this,
            [&](int appWId, int, const QString &appName) {
                auto *item = new DashboardAppWindow();
                static_cast<QQmlParserStatus *>(item)->classBegin();
                item->setWindowId(qulonglong(appWId));
                item->setWindowTitle(appName);
                item->setParent(window->contentItem());
                item->setParentItem(window->contentItem());
                item->setPosition(QPointF(0, 56));
                item->setSize(QSizeF(1024, 544));
                static_cast<QQmlParserStatus *>(item)->componentComplete();
                embedded = item;
            });
    MessageStruct report;
    report.methodName = QStringLiteral("supplyModuleReady");
    report.arguments = { int(module), 99, QStringLiteral("Pipe Marking") };
    MemoryNativeWindowBackend::deliverCopyData(window.get(), module, 0, QVIPCMessage::encode(report));
    QVERIFY(embedded);
    const WindowHandle container = embedded->containerWindow();
    QCOMPARE(m_backend->window(container).parent, WindowHandle(window->winId()));
    QCOMPARE(m_backend->window(container).geometry, QRect(0, 56, 1024, 544));
    QCOMPARE(m_backend->window(module).parent, container);

    QSignalSpy gone(embedded.data(), &DashboardAppWindow::windowDestroyed);
    m_backend->destroyWindow(module);
    QTRY_VERIFY(!embedded);
    QCOMPARE(gone.count(), 1);
}

void tst_DashboardMainWindow::firmwareCheck_data()
{
    QTest::addColumn<QList<QJsonObject>>("printers");
    QTest::addColumn<QString>("latest");
    QTest::addColumn<bool>("update");

    const auto ondrel = [](const QString &firmware, const QString &name = QStringLiteral("A"),
                           bool excluded = false, const QString &driver = QStringLiteral("Ondrel X100 Series")) {
        return PrinterFixture::printer(name, driver, 0, QString(), {}, firmware, 3, excluded);
    };
    QTest::newRow("no printers") << QList<QJsonObject>{} << "2.0.0-1" << false;
    QTest::newRow("older version") << QList<QJsonObject>{ ondrel("1.0.0-5") } << "1.1.0-1" << true;
    QTest::newRow("newer version") << QList<QJsonObject>{ ondrel("1.2.0-1") } << "1.1.0-9" << false;
    QTest::newRow("equal versions") << QList<QJsonObject>{ ondrel("1.1.0-9") } << "1.1.0-9" << false;
    QTest::newRow("equal version, lower build") << QList<QJsonObject>{ ondrel("1.1.0-7") } << "1.1.0-9" << true;
    QTest::newRow("equal version, higher build") << QList<QJsonObject>{ ondrel("1.1.0-10") } << "1.1.0-9" << false;
    QTest::newRow("build missing on one side") << QList<QJsonObject>{ ondrel("1.1.0") } << "1.1.0-1" << true;
    QTest::newRow("build not a number") << QList<QJsonObject>{ ondrel("1.1.0-x") } << "1.1.0" << false;
    QTest::newRow("empty parts dropped") << QList<QJsonObject>{ ondrel("-1.1.0--3") } << "1.1.0-4" << true;
    QTest::newRow("36 zeros") << QList<QJsonObject>{ ondrel(ZEROS) } << "1.1.0-9" << false;
    QTest::newRow("no firmware") << QList<QJsonObject>{ ondrel(QString()) } << "1.1.0-9" << false;
    QTest::newRow("no latest version") << QList<QJsonObject>{ ondrel("1.0.0-1") } << "" << false;
    QTest::newRow("texts without versions differ") << QList<QJsonObject>{ ondrel("beta") } << "gamma" << true;
    QTest::newRow("texts without versions equal") << QList<QJsonObject>{ ondrel("beta") } << "beta" << false;
    QTest::newRow("excluded") << QList<QJsonObject>{ ondrel("1.0.0-1", "A", true) } << "1.1.0-9" << false;
    QTest::newRow("other maker")
            << QList<QJsonObject>{ ondrel("1.0.0-1", "A", false, "Acme Label 300") } << "1.1.0-9" << false;
    QTest::newRow("no blank after the maker")
            << QList<QJsonObject>{ ondrel("1.0.0-1", "A", false, "OndrelX100") } << "1.1.0-9" << false;
    QTest::newRow("maker in lower case")
            << QList<QJsonObject>{ ondrel("1.0.0-1", "A", false, "ondrel X100") } << "1.1.0-9" << false;
    QTest::newRow("several, last outdated")
            << QList<QJsonObject>{ ondrel("1.1.0-9", "A"), ondrel(ZEROS, "B"),
                                   ondrel("1.0.0-1", "C", true), ondrel("1.0.0-2", "D") }
            << "1.1.0-9" << true;
    QTest::newRow("several, none outdated")
            << QList<QJsonObject>{ ondrel("1.1.0-9", "A"), ondrel(ZEROS, "B"),
                                   ondrel("1.0.0-1", "C", true),
                                   ondrel("0.1", "D", false, "Acme Label 300") }
            << "1.1.0-9" << false;
}

void tst_DashboardMainWindow::firmwareCheck()
{
    QFETCH(QList<QJsonObject>, printers);
    QFETCH(QString, latest);
    QFETCH(bool, update);
    m_printers->writePrinters(printers);
    m_printers->writeManifest({ { 3, latest } });
    auto window = makeWindow();
    QSignalSpy changed(window.get(), &DashboardMainWindow::isPrinterUpdateAvailableChanged);
    QTRY_COMPARE(changed.count(), 1);
    QCOMPARE(changed.takeFirst(), QVariantList{ update });
    QCOMPARE(window->isPrinterUpdateAvailable(), update);

    // The printer type argument is not used.
    window->arePrintersUpToDate(-7, false);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.takeFirst(), QVariantList{ update });
}

void tst_DashboardMainWindow::checkingClearsTheFlag()
{
    m_printers->writeManifest({ { 3, QStringLiteral("9.0.0-1") } });
    auto window = makeWindow();
    QTRY_VERIFY(window->isPrinterUpdateAvailable());
    QSignalSpy changed(window.get(), &DashboardMainWindow::isPrinterUpdateAvailableChanged);
    window->arePrintersUpToDate(3, true);
    QVERIFY(!window->isPrinterUpdateAvailable());
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.takeFirst(), QVariantList{ false });
    window->arePrintersUpToDate(3, true); // again, unchanged: still emitted
    QCOMPARE(changed.count(), 1);
}

void tst_DashboardMainWindow::forwardsToTheLauncher()
{
    auto window = makeWindow();
    QCOMPARE(window->getApplicationExec(DashboardGlobal::APP_ARCFLASH),
             window->launcher()->getApplicationExec(DashboardGlobal::APP_ARCFLASH));
    QCOMPARE(window->getApplicationType(QStringLiteral("NFPAMain.exe")), DashboardGlobal::APP_NFPA);
    QTemporaryDir labels;
    QCOMPARE(window->getFileArgumentApplicationType(labelFile(labels, QStringLiteral("x.kxaw"))),
             DashboardGlobal::APP_PIPEMARKING);
    LogCapture log;
    window->setTestModeEnabled(true);
    window->launchApplication(DashboardGlobal::APP_PREMADESIGNS);
    QVERIFY(log.messages().contains(QStringLiteral("Starting QVCatalog.exe --dashboard 0 --qvtestmode")));
}

QTEST_MAIN(tst_DashboardMainWindow)
#include "tst_dashboardmainwindow.moc"
