// What the embedded module item does for a user on a desktop, on the recording backend: it
// refuses to embed the dashboard's own windows, hands the keyboard to the module and takes it
// back as the user clicks, tabs and leaves the module, and stands aside for the dashboard's
// popups. The exact Win32 call sequences of the item are pinned in tst_dashboardappwindow.

#include "dashboard_app_window.h"
#include "native_window_system.h"
#include "platforms/memory/memory_native_window_backend.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

using namespace KorvexNative;

namespace {

constexpr qint64 MODULE_STYLE = 0x16CF0000;

QString focusIn(WindowHandle window, const char *detail)
{
    return QStringLiteral("focusEmbeddedWindow %1 %2").arg(quint64(window)).arg(QLatin1String(detail));
}

QString focusBack(WindowHandle window)
{
    return QStringLiteral("focusEmbedder %1").arg(quint64(window));
}

} // namespace

class tst_DashboardAppWindowDesktop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void dashboardsOwnWindowsAreNotEmbedded_data();
    void dashboardsOwnWindowsAreNotEmbedded();
    void clickIntoTheModuleGivesItTheKeyboard();
    void clickOnTheDashboardTakesItBack();
    void tabbingOntoTheModule_data();
    void tabbingOntoTheModule();
    void handOnKeysMoveAlongTheFocusChain_data();
    void handOnKeysMoveAlongTheFocusChain();
    void hiddenModuleGetsNoKeyboard();
    void popupsCoverTheModule();
    void popupOverAHiddenModuleShowsNothing();

private:
    DashboardAppWindow *attach(WindowHandle module, const QRectF &rect = QRectF(200, 50, 400, 300));
    QQuickItem *tabStop(const QString &name);

    std::unique_ptr<MemoryNativeWindowBackend> m_backend;
    std::unique_ptr<NativeWindowSystem::ScopedBackend> m_scope;
    std::unique_ptr<QQuickWindow> m_window;
    WindowHandle m_windowHandle = 0;
    WindowHandle m_module = 0;
};

void tst_DashboardAppWindowDesktop::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_DashboardAppWindowDesktop::init()
{
    m_backend = std::make_unique<MemoryNativeWindowBackend>();
    m_scope = std::make_unique<NativeWindowSystem::ScopedBackend>(m_backend.get());
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(800, 600);
    m_window->show();
    m_window->requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    m_windowHandle = WindowHandle(m_window->winId());
    m_backend->adoptWindow(m_windowHandle);
    m_module = m_backend->addWindow(QStringLiteral("ModuleWindow"), MODULE_STYLE,
                                    QRect(100, 100, 640, 480));
}

void tst_DashboardAppWindowDesktop::cleanup()
{
    m_window.reset();
    m_scope.reset();
    m_backend.reset();
}

DashboardAppWindow *tst_DashboardAppWindowDesktop::attach(WindowHandle module, const QRectF &rect)
{
    auto *item = new DashboardAppWindow();
    static_cast<QQmlParserStatus *>(item)->classBegin();
    item->setWindowId(module);
    item->setPosition(rect.topLeft());
    item->setSize(rect.size());
    item->setParent(m_window->contentItem());
    item->setParentItem(m_window->contentItem());
    static_cast<QQmlParserStatus *>(item)->componentComplete();
    return item;
}

QQuickItem *tst_DashboardAppWindowDesktop::tabStop(const QString &name)
{
    auto *item = new QQuickItem(m_window->contentItem());
    item->setObjectName(name);
    item->setSize(QSizeF(50, 20));
    item->setActiveFocusOnTab(true);
    return item;
}

void tst_DashboardAppWindowDesktop::dashboardsOwnWindowsAreNotEmbedded_data()
{
    QTest::addColumn<int>("which");
    QTest::newRow("the dashboard's window") << 0;
    QTest::newRow("another module's container") << 1;
}

void tst_DashboardAppWindowDesktop::dashboardsOwnWindowsAreNotEmbedded()
{
    QFETCH(int, which);
    DashboardAppWindow *first = attach(m_module);
    const WindowHandle own = which == 0 ? m_windowHandle : first->containerWindow();
    const MemoryNativeWindowBackend::Window before = m_backend->window(own);
    m_backend->clearCalls();

    // A module that names one of the dashboard's windows as its own.
    QPointer<DashboardAppWindow> item = attach(own);
    QSignalSpy gone(item.data(), &DashboardAppWindow::windowDestroyed);
    for (const auto &call : m_backend->calls()) {
        QVERIFY2(call.function != QLatin1String("SetParent") && call.function != QLatin1String("SetWindowLongPtrW")
                         && call.function != QLatin1String("SendMessageW"),
                 qPrintable(call.function));
        QVERIFY(!call.arguments.contains(QVariant::fromValue<quint64>(own))
                || call.function == QLatin1String("CreateWindowExW"));
    }
    QCOMPARE(item->moduleWindow(), WindowHandle(0));
    // The item goes as if the module's window were gone, closing only its own container.
    QTRY_COMPARE(gone.count(), 1);
    QTRY_VERIFY(item.isNull());
    const MemoryNativeWindowBackend::Window after = m_backend->window(own);
    QCOMPARE(after.handle, own);
    QCOMPARE(after.parent, before.parent);
    QCOMPARE(after.style, before.style);
    QCOMPARE(after.visible, before.visible);
    // The first module is untouched.
    QCOMPARE(m_backend->window(m_module).parent, first->containerWindow());
}

void tst_DashboardAppWindowDesktop::clickIntoTheModuleGivesItTheKeyboard()
{
    DashboardAppWindow *item = attach(m_module);
    QVERIFY(m_backend->isWatchingFocus(item->containerWindow()));
    QVERIFY(item->activeFocusOnTab());
    QVERIFY(!item->hasModuleKeyboard());

    QVERIFY(m_backend->reportEmbeddedFocus(item->containerWindow(), EmbeddedFocusEvent::Clicked));
    QCOMPARE(m_backend->focusedWindow(), m_module);
    QVERIFY(m_backend->focusLog().contains(focusIn(m_module, "current")));
    QVERIFY(item->hasModuleKeyboard());
    // The item holds the window's focus, so the module gets the keyboard back with the window.
    QVERIFY(item->hasActiveFocus());

    // A module's own request (XEmbed) does the same.
    DashboardAppWindow *second = attach(m_backend->addWindow(QStringLiteral("ModuleWindow"), MODULE_STYLE));
    QVERIFY(m_backend->reportEmbeddedFocus(second->containerWindow(), EmbeddedFocusEvent::Requested));
    QCOMPARE(m_backend->focusedWindow(), second->moduleWindow());
    QVERIFY(second->hasActiveFocus());
    // The first gave the keyboard back when the second took the window's focus.
    QVERIFY(!item->hasModuleKeyboard());
}

void tst_DashboardAppWindowDesktop::clickOnTheDashboardTakesItBack()
{
    DashboardAppWindow *item = attach(m_module);
    QVERIFY(m_backend->reportEmbeddedFocus(item->containerWindow(), EmbeddedFocusEvent::Clicked));
    QVERIFY(item->hasModuleKeyboard());
    // A click on the dashboard's own part of the window.
    QTest::mouseClick(m_window.get(), Qt::LeftButton, {}, QPoint(20, 20));
    QCOMPARE(m_backend->focusLog().last(), focusBack(m_windowHandle));
    QCOMPARE(m_backend->focusedWindow(), m_windowHandle);
    QVERIFY(!item->hasModuleKeyboard());
    // And the item no longer holds the window's focus: activating the window again keeps the
    // keyboard with the dashboard.
    QVERIFY(!item->hasFocus());
    const int entries = int(m_backend->focusLog().size());
    QTest::mouseClick(m_window.get(), Qt::LeftButton, {}, QPoint(30, 30));
    QCOMPARE(int(m_backend->focusLog().size()), entries);
}

void tst_DashboardAppWindowDesktop::tabbingOntoTheModule_data()
{
    QTest::addColumn<int>("reason");
    QTest::addColumn<QString>("detail");
    QTest::newRow("Tab") << int(Qt::TabFocusReason) << QStringLiteral("first");
    QTest::newRow("Shift+Tab") << int(Qt::BacktabFocusReason) << QStringLiteral("last");
    QTest::newRow("other") << int(Qt::OtherFocusReason) << QStringLiteral("current");
}

void tst_DashboardAppWindowDesktop::tabbingOntoTheModule()
{
    QFETCH(int, reason);
    QFETCH(QString, detail);
    DashboardAppWindow *item = attach(m_module);
    item->forceActiveFocus(Qt::FocusReason(reason));
    QCOMPARE(m_backend->focusLog(), QStringList{ focusIn(m_module, qPrintable(detail)) });
    QVERIFY(item->hasModuleKeyboard());
    // Focus moving on to another control of the dashboard takes the keyboard back.
    QQuickItem *other = tabStop(QStringLiteral("other"));
    other->forceActiveFocus(Qt::TabFocusReason);
    QCOMPARE(m_backend->focusLog().last(), focusBack(m_windowHandle));
    QVERIFY(!item->hasModuleKeyboard());
}

void tst_DashboardAppWindowDesktop::handOnKeysMoveAlongTheFocusChain_data()
{
    QTest::addColumn<bool>("forward");
    QTest::newRow("Ctrl+Tab") << true;
    QTest::newRow("Ctrl+Shift+Tab") << false;
}

void tst_DashboardAppWindowDesktop::handOnKeysMoveAlongTheFocusChain()
{
    QFETCH(bool, forward);
    QQuickItem *before = tabStop(QStringLiteral("before"));
    DashboardAppWindow *item = attach(m_module);
    item->stackAfter(before);
    QQuickItem *after = tabStop(QStringLiteral("after"));
    after->stackAfter(item);
    QCOMPARE(item->nextItemInFocusChain(true), after);
    QCOMPARE(item->nextItemInFocusChain(false), before);

    item->forceActiveFocus(Qt::TabFocusReason);
    QVERIFY(item->hasModuleKeyboard());
    QVERIFY(m_backend->reportEmbeddedFocus(item->containerWindow(),
                                           forward ? EmbeddedFocusEvent::Next : EmbeddedFocusEvent::Previous));
    QVERIFY(!item->hasModuleKeyboard());
    QCOMPARE(m_backend->focusedWindow(), m_windowHandle);
    QVERIFY((forward ? after : before)->hasActiveFocus());
}

void tst_DashboardAppWindowDesktop::hiddenModuleGetsNoKeyboard()
{
    DashboardAppWindow *item = attach(m_module);
    item->forceActiveFocus(Qt::TabFocusReason);
    QVERIFY(item->hasModuleKeyboard());
    item->hideApplication();
    QCOMPARE(m_backend->focusLog().last(), focusBack(m_windowHandle));
    QVERIFY(!item->hasModuleKeyboard());
    // Clicks reported for a hidden module give it nothing.
    const QStringList log = m_backend->focusLog();
    m_backend->reportEmbeddedFocus(item->containerWindow(), EmbeddedFocusEvent::Clicked);
    QCOMPARE(m_backend->focusLog(), log);
    item->showApplication();
    m_backend->reportEmbeddedFocus(item->containerWindow(), EmbeddedFocusEvent::Clicked);
    QCOMPARE(m_backend->focusLog().last(), focusIn(m_module, "current"));
}

void tst_DashboardAppWindowDesktop::popupsCoverTheModule()
{
    DashboardAppWindow *item = attach(m_module);
    const WindowHandle container = item->containerWindow();
    item->forceActiveFocus(Qt::TabFocusReason);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nimport QtQuick.Controls\nPopup { width: 100; height: 50 }", QUrl());
    std::unique_ptr<QObject> popup(component.create());
    QVERIFY2(popup, qPrintable(component.errorString()));
    QVERIFY(popup->setProperty("parent", QVariant::fromValue(m_window->contentItem())));
    m_backend->clearCalls();

    const qsizetype redraws = m_backend->settleRedraws().size();
    QVERIFY(QMetaObject::invokeMethod(popup.get(), "open"));
    QTRY_VERIFY(item->isCovered());
    // The module's window steps aside and gives the keyboard back.
    QVERIFY(!m_backend->window(container).visible);
    QVERIFY(!item->hasModuleKeyboard());
    QCOMPARE(m_backend->callsTo(QStringLiteral("ShowWindow")).size(), 1);
    QCOMPARE(m_backend->settleRedraws().size(), redraws);

    QVERIFY(QMetaObject::invokeMethod(popup.get(), "close"));
    QTRY_VERIFY(!item->isCovered());
    QVERIFY(m_backend->window(container).visible);
    QCOMPARE(m_backend->callsTo(QStringLiteral("ShowWindow")).size(), 2);
    // Shown again, the module's picture and the dashboard's are drawn again once still.
    QCOMPARE(m_backend->settleRedraws().mid(redraws),
             QList<WindowHandle>({ m_module, m_windowHandle }));

    // Shown by the interface while the popup is open, it waits for the popup to close.
    QVERIFY(QMetaObject::invokeMethod(popup.get(), "open"));
    QTRY_VERIFY(item->isCovered());
    item->showApplication();
    QVERIFY(!m_backend->window(container).visible);
    QVERIFY(QMetaObject::invokeMethod(popup.get(), "close"));
    QTRY_VERIFY(m_backend->window(container).visible);
}

void tst_DashboardAppWindowDesktop::popupOverAHiddenModuleShowsNothing()
{
    DashboardAppWindow *item = attach(m_module);
    const WindowHandle container = item->containerWindow();
    item->hideApplication();
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nimport QtQuick.Controls\nPopup { width: 100; height: 50 }", QUrl());
    std::unique_ptr<QObject> popup(component.create());
    QVERIFY2(popup, qPrintable(component.errorString()));
    QVERIFY(popup->setProperty("parent", QVariant::fromValue(m_window->contentItem())));
    QVERIFY(QMetaObject::invokeMethod(popup.get(), "open"));
    QTRY_VERIFY(item->isCovered());
    QVERIFY(QMetaObject::invokeMethod(popup.get(), "close"));
    QTRY_VERIFY(!item->isCovered());
    // Closing the popup does not bring back a module the interface hid.
    QVERIFY(!m_backend->window(container).visible);
}

QTEST_MAIN(tst_DashboardAppWindowDesktop)
#include "tst_dashboardappwindow_desktop.moc"
