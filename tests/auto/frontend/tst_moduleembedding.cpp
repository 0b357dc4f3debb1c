// A ready module's window, embedded by the front end, covers the page area in the native
// window system's own pixels. Built twice: at scale 1 and with QT_SCALE_FACTOR=2.

#include "dashboard_host.h"

#include <korvexdashboard.h>
#include "platforms/memory/memory_native_window_backend.h"

#include <QQuickItem>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using KorvexNative::WindowHandle;

class tst_ModuleEmbedding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void coversThePageAreaInDevicePixels();
    void followsTheWindowWhenItIsResized();
    void placedAtItsFinalSizeAtOnce();
    void windowKeptByItsManagerIsSaidInTheWindow_data();
    void windowKeptByItsManagerIsSaidInTheWindow();

private:
    QRect expectedNativeRect() const;
    QRect nativeRect(WindowHandle window) const;
    WindowHandle embedModule();
    QQuickItem *moduleNotice() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<MemoryNativeWindowBackend> m_backend;
    std::unique_ptr<NativeWindowSystem::ScopedBackend> m_scope;
    std::unique_ptr<DashboardHost> m_host;
    WindowHandle m_module = 0;
};

void tst_ModuleEmbedding::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_ModuleEmbedding::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_backend = std::make_unique<MemoryNativeWindowBackend>();
    m_scope = std::make_unique<NativeWindowSystem::ScopedBackend>(m_backend.get());
    m_host = std::make_unique<DashboardHost>();
    DashboardHost::Options options;
    options.labelFolder = m_dir->filePath(QStringLiteral("labels"));
    QVERIFY2(m_host->start(options), qPrintable(m_host->errors().join(QLatin1Char('\n'))));
    m_host->window()->setGeometry(0, 0, 1200, 800);
    QVERIFY(QTest::qWaitForWindowExposed(m_host->window()));
    QTRY_VERIFY(m_host->isReady());

    // The scaled build of this test must really run scaled, or it proves nothing.
    const double wanted = qEnvironmentVariableIsSet("QT_SCALE_FACTOR")
            ? qEnvironmentVariable("QT_SCALE_FACTOR").toDouble() : 1.0;
    QCOMPARE(m_host->window()->devicePixelRatio(), wanted);
    QCOMPARE(m_host->window()->dpiScale(), wanted);
    m_backend->adoptWindow(m_host->window()->winId());
    m_module = m_backend->addWindow();
}

void tst_ModuleEmbedding::cleanup()
{
    m_host.reset();
    m_scope.reset();
    m_backend.reset();
}

QRect tst_ModuleEmbedding::expectedNativeRect() const
{
    auto *area = m_host->rootItem()->findChild<QQuickItem *>(QStringLiteral("moduleArea"));
    if (!area)
        return {};
    const QRectF logical = area->mapRectToScene(QRectF(0, 0, area->width(), area->height()));
    const double ratio = m_host->window()->devicePixelRatio();
    return QRect(int(logical.x() * ratio), int(logical.y() * ratio), int(logical.width() * ratio),
                 int(logical.height() * ratio));
}

// A window's rectangle in its parent, as the window system holds it.
QRect tst_ModuleEmbedding::nativeRect(WindowHandle window) const
{
    return m_backend->window(window).geometry;
}

WindowHandle tst_ModuleEmbedding::embedModule()
{
    Q_EMIT m_host->window()->applicationReady(int(m_module), 4242, QStringLiteral("QVLabelEditor.exe"));
    const WindowHandle container = m_backend->window(m_module).parent;
    if (container == 0 || m_backend->window(container).parent != WindowHandle(m_host->window()->winId()))
        return 0;
    return container;
}

void tst_ModuleEmbedding::coversThePageAreaInDevicePixels()
{
    const WindowHandle container = embedModule();
    QVERIFY2(container, "the module window was not placed in a container of the dashboard's window");
    const QRect expected = expectedNativeRect();
    QVERIFY(expected.width() > 400 && expected.height() > 300);
    QCOMPARE(nativeRect(container), expected);
    QCOMPARE(nativeRect(m_module), QRect(QPoint(0, 0), expected.size()));
    QVERIFY(m_backend->window(m_module).visible);
    // Embedded as it should be: no notice.
    QCoreApplication::processEvents();
    QVERIFY(!moduleNotice()->property("shown").toBool());
}

void tst_ModuleEmbedding::followsTheWindowWhenItIsResized()
{
    const WindowHandle container = embedModule();
    QVERIFY(container);
    const QRect before = nativeRect(container);
    m_host->window()->resize(1000, 700);
    QTRY_VERIFY(nativeRect(container) != before);
    QTRY_COMPARE(nativeRect(container), expectedNativeRect());
    QCOMPARE(nativeRect(m_module).size(), expectedNativeRect().size());
}

// The bar that comes with a shown module does not resize the module's window just after it
// was mapped: the window is placed where it stays, and draws once.
void tst_ModuleEmbedding::placedAtItsFinalSizeAtOnce()
{
    m_backend->clearCalls();
    QVERIFY(embedModule());
    auto *bar = m_host->rootItem()->findChild<QQuickItem *>(QStringLiteral("moduleBar"));
    QVERIFY(bar);
    QTRY_VERIFY(bar->height() > 0);
    QList<QSize> sizes;
    const auto calls = m_backend->callsTo(QStringLiteral("SetWindowPos"));
    for (const auto &call : calls) {
        if (call.arguments.at(0).toULongLong() == quint64(m_module))
            sizes << QSize(call.arguments.at(4).toInt(), call.arguments.at(5).toInt());
    }
    QVERIFY(!sizes.isEmpty());
    for (const QSize &size : std::as_const(sizes))
        QCOMPARE(size, expectedNativeRect().size());
    QCOMPARE(nativeRect(m_backend->window(m_module).parent), expectedNativeRect());
}

void tst_ModuleEmbedding::windowKeptByItsManagerIsSaidInTheWindow_data()
{
    QTest::addColumn<bool>("later");
    QTest::newRow("never let go") << false;
    QTest::newRow("taken away for good after it was embedded") << true;
}

void tst_ModuleEmbedding::windowKeptByItsManagerIsSaidInTheWindow()
{
    QFETCH(bool, later);
    if (later) {
        const WindowHandle container = embedModule();
        QVERIFY(container);
        QCoreApplication::processEvents();
        QVERIFY(!moduleNotice()->property("shown").toBool());
        QVERIFY(m_backend->reportEmbeddingLost(container));
    } else {
        m_backend->setKeptByWindowManager(m_module, true);
        QVERIFY(!embedModule());
    }
    QQuickItem *notice = moduleNotice();
    QVERIFY(notice);
    QTRY_VERIFY(notice->property("shown").toBool());
    QTRY_VERIFY(notice->height() > 0);
    const QString text = notice->property("text").toString();
    QVERIFY2(text.contains(QStringLiteral("could not be placed in the dashboard; it runs in a window of its own")),
             qPrintable(text));
    QVERIFY2(!text.startsWith(u' ') && !text.startsWith(QStringLiteral("could")), qPrintable(text)); // names the module
    // The module runs on beside the dashboard: its window is not closed or destroyed.
    QVERIFY(m_backend->windowExists(m_module));
    QVERIFY(m_backend->callsTo(QStringLiteral("DestroyWindow")).isEmpty());
}

QQuickItem *tst_ModuleEmbedding::moduleNotice() const
{
    return m_host->rootItem()->findChild<QQuickItem *>(QStringLiteral("moduleNotice"));
}

QTEST_MAIN(tst_ModuleEmbedding)
#include "tst_moduleembedding.moc"
