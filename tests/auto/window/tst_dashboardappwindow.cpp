#include "dashboard_app_window.h"
#include "log_capture.h"
#include "native_window_system.h"
#include "platforms/memory/memory_native_window_backend.h"

#include <QPointer>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include <memory>

using namespace KorvexNative;
using Call = MemoryNativeWindowBackend::Call;

namespace {

constexpr qint64 MODULE_STYLE = 0x16CF0000; // visible, clip siblings/children, framed

QVariant h(WindowHandle handle)
{
    return QVariant::fromValue<quint64>(handle);
}

QVariant u32(quint32 value)
{
    return QVariant::fromValue<quint32>(value);
}

} // namespace

class tst_DashboardAppWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void constructionDefaults();
    void setters_data();
    void setters();
    void completeAttachesWithExactCalls();
    void completeWithoutWindowIdCreatesOnlyTheContainer();
    void windowKeptByItsManagerIsReported();
    void itemWithoutWindowWarns();
    void resizeMovesContainerAndSizesModule_data();
    void resizeMovesContainerAndSizesModule();
    void hideAndShowActOnTheContainer();
    void moduleDrawnAgainOnceShownOrResized();
    void closeAsksTheModule();
    void closeWithoutContainerDoesNothing();
    void closeOnAModuleThatClosesEndsTheItem();
    void moduleWindowDisappearing();
    void deadWindowIdEndsTheItemAtTheFirstCheck();
    void receiverDeletingTheItemAtTheSignal();
    void destroyingAnAttachedItemAsksTheModuleToClose();
    void destroyingAfterTheModuleIsGone();
    void declaredInQml();
    void windowIdSetAfterCompletionAttachesNothing();

private:
    DashboardAppWindow *makeItem(qulonglong windowId, const QRectF &rect = QRectF(10, 20, 300, 200),
                                 bool inWindow = true);
    void complete(DashboardAppWindow *item);

    std::unique_ptr<MemoryNativeWindowBackend> m_backend;
    std::unique_ptr<NativeWindowSystem::ScopedBackend> m_scope;
    std::unique_ptr<QQuickWindow> m_window;
    WindowHandle m_windowHandle = 0;
    WindowHandle m_module = 0;
};

void tst_DashboardAppWindow::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_DashboardAppWindow::init()
{
    m_backend = std::make_unique<MemoryNativeWindowBackend>();
    m_scope = std::make_unique<NativeWindowSystem::ScopedBackend>(m_backend.get());
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(800, 600);
    m_windowHandle = WindowHandle(m_window->winId());
    m_backend->adoptWindow(m_windowHandle);
    m_module = m_backend->addWindow(QStringLiteral("ModuleWindow"), MODULE_STYLE,
                                    QRect(100, 100, 640, 480));
}

void tst_DashboardAppWindow::cleanup()
{
    m_window.reset(); // deletes the items in its content item
    m_scope.reset();
    m_backend.reset();
}

DashboardAppWindow *tst_DashboardAppWindow::makeItem(qulonglong windowId, const QRectF &rect,
                                                     bool inWindow)
{
    auto *item = new DashboardAppWindow();
    static_cast<QQmlParserStatus *>(item)->classBegin();
    item->setWindowId(windowId);
    item->setPosition(rect.topLeft());
    item->setSize(rect.size());
    if (inWindow) {
        // Owned by the window's content item, as the QML engine would arrange.
        item->setParent(m_window->contentItem());
        item->setParentItem(m_window->contentItem());
    }
    return item;
}

void tst_DashboardAppWindow::complete(DashboardAppWindow *item)
{
    static_cast<QQmlParserStatus *>(item)->componentComplete();
}

void tst_DashboardAppWindow::constructionDefaults()
{
    DashboardAppWindow item;
    QCOMPARE(item.windowId(), 0ULL);
    QVERIFY(item.windowTitle().isEmpty());
    QVERIFY(item.applicationPath().isEmpty());
    QCOMPARE(item.containerWindow(), WindowHandle(0));
    QCOMPARE(item.moduleWindow(), WindowHandle(0));
    QVERIFY(item.flags().testFlag(QQuickItem::ItemHasContents));
    QVERIFY(!item.parentItem());
    QVERIFY(!item.isWatching());
    QVERIFY(m_backend->calls().isEmpty());
}

void tst_DashboardAppWindow::setters_data()
{
    QTest::addColumn<QByteArray>("property");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("windowId") << QByteArray("windowId") << QVariant::fromValue<qulonglong>(77);
    QTest::newRow("windowTitle") << QByteArray("windowTitle") << QVariant(QStringLiteral("Pipes"));
    QTest::newRow("applicationPath")
            << QByteArray("applicationPath") << QVariant(QStringLiteral("C:/m/PipeMarking.exe"));
}

void tst_DashboardAppWindow::setters()
{
    QFETCH(QByteArray, property);
    QFETCH(QVariant, value);
    DashboardAppWindow item;
    QSignalSpy spy(&item, QByteArray("2" + property + "Changed()").constData());
    QVERIFY(item.setProperty(property, value));
    QCOMPARE(item.property(property), value);
    QCOMPARE(spy.count(), 1);
    // The same value again still notifies.
    QVERIFY(item.setProperty(property, value));
    QCOMPARE(spy.count(), 2);
}

void tst_DashboardAppWindow::completeAttachesWithExactCalls()
{
    DashboardAppWindow *item = makeItem(m_module, QRectF(10.9, 20.5, 300.7, 200.2));
    m_backend->clearCalls();
    complete(item);

    const WindowHandle container = item->containerWindow();
    QVERIFY(container != 0);
    QCOMPARE(item->moduleWindow(), m_module);
    const QList<Call> calls = m_backend->calls();
    QCOMPARE(m_backend->functionNames(),
             QStringList({ "CreateWindowExW", "SetParent", "GetWindowLongPtrW",
                           "SetWindowLongPtrW", "SetWindowPos", "GetWindowLongPtrW",
                           "SetWindowLongPtrW" }));
    QCOMPARE(calls[0].arguments,
             QVariantList({ u32(0), QStringLiteral("STATIC"), QStringLiteral(""),
                            u32(0x52000000), 10, 20, 300, 200, h(m_windowHandle), h(0),
                            QVariant::fromValue<quint64>(0), QVariant::fromValue<quint64>(0) }));
    QCOMPARE(calls[0].result, qint64(container));
    QCOMPARE(calls[1].arguments, QVariantList({ h(m_module), h(container) }));
    QCOMPARE(calls[2].arguments, QVariantList({ h(m_module), GwlStyle }));
    QCOMPARE(calls[2].result, MODULE_STYLE);
    QCOMPARE(calls[3].arguments,
             QVariantList({ h(m_module), GwlStyle, qint64(MODULE_STYLE & ~0x00CF0000) }));
    QCOMPARE(calls[4].arguments, QVariantList({ h(m_module), h(0), 0, 0, 300, 200, u32(0x50) }));
    QCOMPARE(calls[5].arguments, QVariantList({ h(container), GwlExStyle }));
    QCOMPARE(calls[6].arguments,
             QVariantList({ h(container), GwlExStyle, qint64(WsExComposited) }));
    QVERIFY(item->isWatching());

    // The simulated windows show the result.
    const auto containerState = m_backend->window(container);
    QCOMPARE(containerState.className, QStringLiteral("STATIC"));
    QCOMPARE(containerState.parent, m_windowHandle);
    QCOMPARE(containerState.geometry, QRect(10, 20, 300, 200));
    QCOMPARE(containerState.exStyle, qint64(WsExComposited));
    QVERIFY(containerState.visible);
    const auto moduleState = m_backend->window(m_module);
    QCOMPARE(moduleState.parent, container);
    QCOMPARE(moduleState.style, qint64(0x16000000));
    QCOMPARE(moduleState.geometry, QRect(0, 0, 300, 200));
    QVERIFY(moduleState.visible);

    // Taken in: nothing to report.
    LogCapture capture;
    QCoreApplication::processEvents();
    QCOMPARE(capture.messages().filter(QStringLiteral("could not be taken into the dashboard")).size(), 0);
}

void tst_DashboardAppWindow::windowKeptByItsManagerIsReported()
{
    m_backend->setKeptByWindowManager(m_module, true);
    DashboardAppWindow *item = makeItem(m_module);
    QPointer<DashboardAppWindow> alive(item);
    QSignalSpy destroyed(item, &DashboardAppWindow::windowDestroyed);
    LogCapture capture;
    complete(item);
    const QString line = QStringLiteral("Dashboard Error: window %1 could not be taken into the "
                                        "dashboard; it stays a window of its own.").arg(m_module);
    QCOMPARE(capture.linesWithMessage(line).size(), 0); // from the event loop, once the item is made
    QTRY_COMPARE(capture.linesWithMessage(line).size(), 1);
    QCoreApplication::processEvents();
    QCOMPARE(capture.linesWithMessage(line).size(), 1);
    // The module's window is left as it is, and the item goes on watching it.
    QCOMPARE(m_backend->window(m_module).parent, WindowHandle(0));
    QVERIFY(m_backend->windowExists(m_module));
    QVERIFY(item->containerWindow() != 0);
    QVERIFY(alive);
    QCOMPARE(destroyed.count(), 0);
}

void tst_DashboardAppWindow::completeWithoutWindowIdCreatesOnlyTheContainer()
{
    DashboardAppWindow *item = makeItem(0);
    m_backend->clearCalls();
    complete(item);
    QCOMPARE(m_backend->functionNames(), QStringList({ "CreateWindowExW" }));
    QVERIFY(item->containerWindow() != 0);
    QCOMPARE(item->moduleWindow(), WindowHandle(0));
    QVERIFY(!item->isWatching());
    // Never starts watching, so never ends itself.
    QPointer<DashboardAppWindow> alive(item);
    QCoreApplication::processEvents();
    QVERIFY(alive);
    QVERIFY(!m_backend->functionNames().contains("IsWindow"));
}

void tst_DashboardAppWindow::itemWithoutWindowWarns()
{
    DashboardAppWindow *item = makeItem(m_module, QRectF(0, 0, 100, 50), false);
    std::unique_ptr<DashboardAppWindow> owner(item);
    m_backend->clearCalls();
    QTest::ignoreMessage(QtWarningMsg, "DashboardAppWindow must be attached to a window.");
    complete(item);
    QCOMPARE(item->containerWindow(), WindowHandle(0));
    {
        // Qt's warning channel, under the embedded window's own category.
        LogCapture capture;
        QCOMPARE(item->createNativeWindow(), WindowHandle(0));
        const QList<LogCapture::Line> lines =
                capture.linesWithMessage(QStringLiteral("DashboardAppWindow must be attached to a window."));
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines[0].type, QtWarningMsg);
        QCOMPARE(lines[0].category, QByteArray("korvex.dashboard.appwindow"));
        QCOMPARE(lines[0].file, LogCapture::sourcePath("dashboard_app_window"));
        QVERIFY2(lines[0].function.contains("createNativeWindow"), lines[0].function.constData());
    }

    // The module window is still re-parented, under no parent: it is a top-level window again.
    const QList<Call> setParent = m_backend->callsTo(QStringLiteral("SetParent"));
    QCOMPARE(setParent.size(), 1);
    QCOMPARE(setParent[0].arguments, QVariantList({ h(m_module), h(0) }));
    QCOMPARE(m_backend->window(m_module).parent, WindowHandle(0));
    QVERIFY(m_backend->callsTo(QStringLiteral("CreateWindowExW")).isEmpty());

    m_backend->clearCalls();
    item->hideApplication();
    item->showApplication();
    item->closeApplication();
    QVERIFY(m_backend->calls().isEmpty());
}

void tst_DashboardAppWindow::resizeMovesContainerAndSizesModule_data()
{
    QTest::addColumn<QRectF>("changed");
    QTest::addColumn<QRect>("expected");
    QTest::newRow("width") << QRectF(10, 20, 451.9, 200) << QRect(10, 20, 451, 200);
    QTest::newRow("height") << QRectF(10, 20, 300, 99.5) << QRect(10, 20, 300, 99);
}

void tst_DashboardAppWindow::resizeMovesContainerAndSizesModule()
{
    QFETCH(QRectF, changed);
    QFETCH(QRect, expected);
    DashboardAppWindow *item = makeItem(m_module);
    complete(item);
    const WindowHandle container = item->containerWindow();
    m_backend->clearCalls();

    item->setSize(changed.size());

    const QList<Call> calls = m_backend->calls();
    QCOMPARE(m_backend->functionNames(), QStringList({ "SetWindowPos", "SetWindowPos" }));
    QCOMPARE(calls[0].arguments,
             QVariantList({ h(container), h(0), expected.x(), expected.y(), expected.width(),
                            expected.height(), u32(0x14) }));
    QCOMPARE(calls[1].arguments,
             QVariantList({ h(m_module), h(0), 0, 0, expected.width(), expected.height(),
                            u32(0x14) }));
    QCOMPARE(m_backend->window(container).geometry, expected);
    QCOMPARE(m_backend->window(m_module).geometry, QRect(QPoint(0, 0), expected.size()));
}

void tst_DashboardAppWindow::hideAndShowActOnTheContainer()
{
    DashboardAppWindow *item = makeItem(m_module);
    complete(item);
    const WindowHandle container = item->containerWindow();
    m_backend->clearCalls();

    item->hideApplication();
    QCOMPARE(m_backend->calls().size(), 1);
    QCOMPARE(m_backend->calls()[0].function, QStringLiteral("ShowWindow"));
    QCOMPARE(m_backend->calls()[0].arguments, QVariantList({ h(container), SwHide }));
    QVERIFY(!m_backend->window(container).visible);
    QVERIFY(m_backend->window(m_module).visible); // the module window itself is left alone

    item->showApplication();
    QCOMPARE(m_backend->calls().size(), 2);
    QCOMPARE(m_backend->calls()[1].arguments, QVariantList({ h(container), SwShowNormal }));
    QVERIFY(m_backend->window(container).visible);
}

// Each time the module's picture may be new on the screen (embedded, shown again, resized),
// the item asks for it, and for the dashboard's window around it, to be drawn again once they
// are still; never while the module is hidden.
void tst_DashboardAppWindow::moduleDrawnAgainOnceShownOrResized()
{
    const QList<WindowHandle> once{ m_module, m_windowHandle };
    DashboardAppWindow *item = makeItem(m_module);
    QVERIFY(m_backend->settleRedraws().isEmpty());
    complete(item);
    QCOMPARE(m_backend->settleRedraws(), once);

    item->setSize(QSizeF(320, 200));
    QCOMPARE(m_backend->settleRedraws(), once + once);

    item->hideApplication();
    item->setSize(QSizeF(330, 200));
    QCOMPARE(m_backend->settleRedraws(), once + once);

    item->showApplication();
    QCOMPARE(m_backend->settleRedraws(), once + once + once);

    // Without a module window there is nothing to draw.
    DashboardAppWindow *empty = makeItem(0);
    complete(empty);
    empty->setSize(QSizeF(10, 10));
    empty->showApplication();
    QCOMPARE(m_backend->settleRedraws().size(), 3 * once.size());
}

void tst_DashboardAppWindow::closeAsksTheModule()
{
    m_backend->setClosesOnClose(m_module, false); // this module asks the user first
    DashboardAppWindow *item = makeItem(m_module);
    complete(item);
    const WindowHandle container = item->containerWindow();
    QPointer<DashboardAppWindow> alive(item);
    m_backend->clearCalls();

    item->closeApplication();

    const QList<Call> calls = m_backend->calls();
    QCOMPARE(m_backend->functionNames(), QStringList({ "IsWindow", "SendMessageW" }));
    QCOMPARE(calls[0].arguments, QVariantList({ h(container) }));
    QCOMPARE(calls[1].arguments,
             QVariantList({ h(m_module), u32(WmClose), QVariant::fromValue<quint64>(0),
                            qint64(0) }));
    QVERIFY(m_backend->windowExists(m_module));
    // The module stays, and so does the item, through several status checks.
    QSignalSpy destroyed(item, &DashboardAppWindow::windowDestroyed);
    QTRY_VERIFY(m_backend->callsTo(QStringLiteral("IsWindow")).size() >= 3);
    QVERIFY(alive);
    QCOMPARE(destroyed.count(), 0);
}

void tst_DashboardAppWindow::closeWithoutContainerDoesNothing()
{
    auto item = std::make_unique<DashboardAppWindow>();
    item->setWindowId(m_module);
    item->closeApplication();
    item->hideApplication();
    item->showApplication();
    QVERIFY(m_backend->calls().isEmpty());
}

void tst_DashboardAppWindow::closeOnAModuleThatClosesEndsTheItem()
{
    DashboardAppWindow *item = makeItem(m_module);
    complete(item);
    QPointer<DashboardAppWindow> alive(item);
    QSignalSpy destroyed(item, &DashboardAppWindow::windowDestroyed);
    item->closeApplication();
    QVERIFY(!m_backend->windowExists(m_module));
    QVERIFY(alive); // the item waits for its status check
    QTRY_VERIFY(!alive);
    QCOMPARE(destroyed.count(), 1);
}

void tst_DashboardAppWindow::moduleWindowDisappearing()
{
    DashboardAppWindow *item = makeItem(m_module);
    complete(item);
    const WindowHandle container = item->containerWindow();
    QPointer<DashboardAppWindow> alive(item);
    QSignalSpy destroyed(item, &DashboardAppWindow::windowDestroyed);
    // Nothing holds the item but the window; when it ends itself it leaves the content item.
    QCOMPARE(m_window->contentItem()->childItems().size(), 1);

    // Watched every 240 ms, for as long as the item lives.
    auto *timer = item->findChild<QTimer *>();
    QVERIFY(timer);
    QCOMPARE(timer->interval(), 240);
    QVERIFY(!timer->isSingleShot());
    QVERIFY(timer->isActive());

    m_backend->clearCalls();
    m_backend->destroyWindow(m_module); // the module process ended
    QVERIFY(alive);
    QTRY_VERIFY(!alive);

    QCOMPARE(destroyed.count(), 1);
    // One look found the window gone; the item ended at that very check.
    QCOMPARE(m_backend->callsTo(QStringLiteral("IsWindow")).size(), 1);
    const QList<Call> sends = m_backend->callsTo(QStringLiteral("SendMessageW"));
    QCOMPARE(sends.size(), 1);
    QCOMPARE(sends[0].arguments,
             QVariantList({ h(container), u32(WmClose), QVariant::fromValue<quint64>(0),
                            qint64(0) }));
    QVERIFY(!m_backend->windowExists(container)); // WmClose destroyed the "STATIC" window
    QVERIFY(m_window->contentItem()->childItems().isEmpty());

    QCoreApplication::processEvents();
    QCOMPARE(destroyed.count(), 1);
}

void tst_DashboardAppWindow::deadWindowIdEndsTheItemAtTheFirstCheck()
{
    const WindowHandle dead = m_backend->addWindow();
    m_backend->destroyWindow(dead);
    DashboardAppWindow *item = makeItem(dead);
    QPointer<DashboardAppWindow> alive(item);
    QSignalSpy destroyed(item, &DashboardAppWindow::windowDestroyed);
    LogCapture capture;
    complete(item); // the native calls on the dead handle fail quietly
    QVERIFY(alive);
    QTRY_VERIFY(!alive);
    QCOMPARE(destroyed.count(), 1);
    // A dead window is an ended module, not one its manager kept: one look tells them apart,
    // one is the status check that ends the item.
    QCOMPARE(capture.messages().filter(QStringLiteral("could not be taken into the dashboard")).size(), 0);
    QCOMPARE(m_backend->callsTo(QStringLiteral("IsWindow")).size(), 2);
}

void tst_DashboardAppWindow::receiverDeletingTheItemAtTheSignal()
{
    // An interface that deletes the item itself when told must not cause a second deletion.
    DashboardAppWindow *item = makeItem(m_module);
    complete(item);
    QPointer<DashboardAppWindow> alive(item);
    int received = 0;
    connect(item, &DashboardAppWindow::windowDestroyed, this, [&received, item] {
        ++received;
        delete item;
    });
    m_backend->destroyWindow(m_module);
    QTRY_VERIFY(!alive);
    QCOMPARE(received, 1);
}

void tst_DashboardAppWindow::destroyingAnAttachedItemAsksTheModuleToClose()
{
    m_backend->setClosesOnClose(m_module, false);
    DashboardAppWindow *item = makeItem(m_module);
    complete(item);
    const WindowHandle container = item->containerWindow();
    m_backend->clearCalls();
    delete item;
    const QList<Call> calls = m_backend->calls();
    QCOMPARE(m_backend->functionNames(), QStringList({ "IsWindow", "SendMessageW" }));
    QCOMPARE(calls[0].arguments, QVariantList({ h(container) }));
    QCOMPARE(calls[1].arguments,
             QVariantList({ h(m_module), u32(WmClose), QVariant::fromValue<quint64>(0),
                            qint64(0) }));
}

void tst_DashboardAppWindow::destroyingAfterTheModuleIsGone()
{
    // Destroying an item whose container is already gone sends nothing.
    DashboardAppWindow *item = makeItem(m_module);
    complete(item);
    m_backend->destroyWindow(item->containerWindow()); // takes the module window with it
    m_backend->clearCalls();
    delete item;
    QCOMPARE(m_backend->functionNames(), QStringList({ "IsWindow" }));
}

void tst_DashboardAppWindow::declaredInQml()
{
    qmlRegisterType<DashboardAppWindow>("Korvex.Test", 1, 0, "DashboardAppWindow");
    QQmlEngine engine;
    // The interface binds the handle it got from applicationReady; QML in Qt 6.4 refuses a
    // literal for a qulonglong property, but converts a bound number.
    engine.rootContext()->setContextProperty(QStringLiteral("moduleHandle"),
                                             QVariant::fromValue<double>(m_module));
    QQmlComponent component(&engine);
    component.setData("import Korvex.Test 1.0\n"
                      "DashboardAppWindow { windowId: moduleHandle; x: 5; y: 6; "
                      "width: 120; height: 80 }",
                      QUrl());
    QObject *object = component.beginCreate(engine.rootContext());
    QVERIFY2(object, qPrintable(component.errorString()));
    auto *item = qobject_cast<DashboardAppWindow *>(object);
    QVERIFY(item);
    item->setParent(m_window->contentItem());
    item->setParentItem(m_window->contentItem());
    m_backend->clearCalls();
    component.completeCreate();

    QVERIFY(item->containerWindow() != 0);
    QCOMPARE(m_backend->window(m_module).parent, item->containerWindow());
    QCOMPARE(m_backend->window(item->containerWindow()).geometry, QRect(5, 6, 120, 80));
    QVERIFY(item->isWatching());

    QPointer<DashboardAppWindow> alive(item);
    m_backend->destroyWindow(m_module);
    QTRY_VERIFY(!alive);
}

void tst_DashboardAppWindow::windowIdSetAfterCompletionAttachesNothing()
{
    DashboardAppWindow *item = makeItem(0);
    complete(item);
    m_backend->clearCalls();
    item->setWindowId(m_module);
    QVERIFY(m_backend->calls().isEmpty());
    QCOMPARE(m_backend->window(m_module).parent, WindowHandle(0));
    QVERIFY(!item->isWatching());
}

QTEST_MAIN(tst_DashboardAppWindow)
#include "tst_dashboardappwindow.moc"
