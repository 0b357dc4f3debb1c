// Geometry restore and save of the main window, run once per desktop layout (the offscreen
// platform's screen configuration files in screens/).

#include "dashboard_main_window.h"
#include "dashboard_settings.h"
#include "platforms/memory/memory_native_window_backend.h"

#include "printer_fixture.h"

#include <QScreen>
#include <QtTest>

#include <memory>

namespace {

struct Layout
{
    QString primary;
    QRect desktop;         // all screens together
    QRect defaultGeometry; // where a window with nothing saved goes on the primary screen
};

// Worked out by hand from each configuration file.
const QList<Layout> LAYOUTS = {
    { "Screen-1920x1080", QRect(0, 0, 1920, 1080), QRect(160, 68, 1600, 960) },
    { "Screen-1366x768", QRect(0, 0, 1366, 768), QRect(171, 92, 1024, 600) },
    { "Screen-1280x800", QRect(0, 0, 1280, 800), QRect(128, 108, 1024, 600) },
    { "Left-1920x1080", QRect(0, 0, 3200, 1080), QRect(160, 68, 1600, 960) },
    // Narrower than the smallest default: (1023 - 1024) / 2 rounds toward zero, to 0.
    { "Screen-1023x600", QRect(0, 0, 1023, 600), QRect(0, 8, 1024, 600) },
};

} // namespace

class tst_DashboardMainWindowGeometry : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void missingSettingsFile();
    void savedScreenGone_data();
    void savedScreenGone();
    void offDesktopGeometryIsPulledIn_data();
    void offDesktopGeometryIsPulledIn();
    void geometryLargerThanTheDesktop_data();
    void geometryLargerThanTheDesktop();
    void maximisedState();
    void repeatedSaves();
    void saveThenRestore();
    void defaultOfTheSavedScreenIsNotOffset();

private:
    std::unique_ptr<DashboardMainWindow> makeWindow();
    void save(const QVariantMap &values);

    Layout m_layout;
    std::unique_ptr<PrinterFixture> m_printers;
    std::unique_ptr<MemoryNativeWindowBackend> m_backend;
};

void tst_DashboardMainWindowGeometry::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    const QString primary = QGuiApplication::primaryScreen()->name();
    bool found = false;
    for (const Layout &layout : LAYOUTS) {
        if (layout.primary == primary) {
            m_layout = layout;
            found = true;
        }
    }
    QVERIFY2(found, qPrintable("no expectations for screen " + primary));
    QRect desktop;
    for (QScreen *screen : QGuiApplication::screens())
        desktop = desktop.united(screen->geometry());
    QCOMPARE(desktop, m_layout.desktop);
    qInfo("Desktop %s: %dx%d", qPrintable(primary), desktop.width(), desktop.height());
}

void tst_DashboardMainWindowGeometry::init()
{
    DashboardSettings::openDashboardStore()->clear();
    m_printers = std::make_unique<PrinterFixture>();
    m_backend = std::make_unique<MemoryNativeWindowBackend>();
}

void tst_DashboardMainWindowGeometry::cleanup()
{
    m_backend.reset();
    m_printers.reset();
}

std::unique_ptr<DashboardMainWindow> tst_DashboardMainWindowGeometry::makeWindow()
{
    return std::make_unique<DashboardMainWindow>(nullptr, m_backend.get());
}

void tst_DashboardMainWindowGeometry::save(const QVariantMap &values)
{
    const auto store = DashboardSettings::openDashboardStore();
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        store->setValue(it.key(), it.value());
}

void tst_DashboardMainWindowGeometry::missingSettingsFile()
{
    const QString file = DashboardSettings::openDashboardStore()->fileName();
    QFile::remove(file);
    QVERIFY(!QFile::exists(file));
    auto window = makeWindow();
    QCOMPARE(window->geometry(), m_layout.defaultGeometry);
    QCOMPARE(window->normalGeometry(), m_layout.defaultGeometry);
    QCOMPARE(window->windowStateValue(), 0);
    QVERIFY(!window->isVisible());
}

void tst_DashboardMainWindowGeometry::savedScreenGone_data()
{
    QTest::addColumn<QVariant>("saved");
    QTest::addColumn<QRect>("expected");
    QTest::newRow("with a geometry") << QVariant(QRect(100, 100, 800, 500)) << QRect(100, 100, 800, 500);
    QTest::newRow("without a geometry") << QVariant() << QRect();
}

void tst_DashboardMainWindowGeometry::savedScreenGone()
{
    QFETCH(QVariant, saved);
    QFETCH(QRect, expected);
    if (expected.isNull())
        expected = m_layout.defaultGeometry; // of the primary screen
    QVariantMap values{ { "displayName", "A screen unplugged since" } };
    if (saved.isValid())
        values.insert("windowGeometry", saved);
    save(values);
    auto window = makeWindow();
    QCOMPARE(window->geometry(), expected);
    QCOMPARE(window->normalGeometry(), expected);
}

void tst_DashboardMainWindowGeometry::offDesktopGeometryIsPulledIn_data()
{
    QTest::addColumn<QRect>("saved");
    QTest::addColumn<QRect>("expected");
    const QRect d = m_layout.desktop;
    QTest::newRow("over the right and bottom edges")
            << QRect(d.right() - 100, d.bottom() - 50, 800, 500)
            << QRect(d.right() - 799, d.bottom() - 499, 800, 500);
    QTest::newRow("over the left and top edges") << QRect(-300, -200, 800, 500) << QRect(0, 0, 800, 500);
    QTest::newRow("far away") << QRect(50000, 40000, 800, 500)
                              << QRect(d.width() - 800, d.height() - 500, 800, 500);
    QTest::newRow("above only") << QRect(40, -31, 800, 500) << QRect(40, 0, 800, 500);
    QTest::newRow("inside") << QRect(10, 20, 800, 500) << QRect(10, 20, 800, 500);
    QTest::newRow("exactly the desktop, offset") << QRect(10, 10, d.width(), d.height()) << d;
}

void tst_DashboardMainWindowGeometry::offDesktopGeometryIsPulledIn()
{
    QFETCH(QRect, saved);
    QFETCH(QRect, expected);
    save({ { "displayName", m_layout.primary }, { "windowGeometry", saved } });
    auto window = makeWindow();
    QCOMPARE(window->geometry(), expected);
    // Geometry tracking is connected before the restore, so placing the window updates the
    // normal geometry that was read.
    QCOMPARE(window->normalGeometry(), expected);
}

void tst_DashboardMainWindowGeometry::geometryLargerThanTheDesktop_data()
{
    QTest::addColumn<QRect>("saved");
    const QRect d = m_layout.desktop;
    QTest::newRow("wider") << QRect(0, 0, d.width() + 1, 400);
    QTest::newRow("taller") << QRect(0, 0, 400, d.height() + 1);
    QTest::newRow("both") << QRect(-10, -10, d.width() * 2, d.height() * 2);
}

void tst_DashboardMainWindowGeometry::geometryLargerThanTheDesktop()
{
    QFETCH(QRect, saved);
    save({ { "displayName", m_layout.primary }, { "windowGeometry", saved } });
    auto window = makeWindow();
    QCOMPARE(window->geometry(), m_layout.defaultGeometry);
}

void tst_DashboardMainWindowGeometry::maximisedState()
{
    const QRect normal(50, 60, 700, 500);
    save({ { "displayName", m_layout.primary },
           { "windowGeometry", QRect(0, 31, 1024, 600) },
           { "windowNormalGeometry", normal },
           { "windowState", int(Qt::WindowMaximized) } });
    auto window = makeWindow();
    QCOMPARE(window->visibility(), QWindow::Maximized);
    QCOMPARE(window->windowState(), Qt::WindowMaximized);
    QCOMPARE(window->windowStateValue(), 2);
    // Tracking stops while maximised: the normal geometry read is kept for the next save.
    QCOMPARE(window->normalGeometry(), normal);
    window->saveWindowGeometry();
    const auto store = DashboardSettings::openDashboardStore();
    QCOMPARE(store->value("windowState").toInt(), 2);
    QCOMPARE(store->value("windowNormalGeometry").toRect(), QRect(50, 91, 700, 469));
}

void tst_DashboardMainWindowGeometry::repeatedSaves()
{
    auto window = makeWindow();
    const QRect start = m_layout.defaultGeometry;
    QCOMPARE(window->normalGeometry(), start);

    window->saveWindowGeometry();
    {
        const auto store = DashboardSettings::openDashboardStore();
        QCOMPARE(store->value("windowGeometry").toRect(), start.translated(0, 31));
        QRect once = start;
        once.setTop(start.top() + 31);
        QCOMPARE(store->value("windowNormalGeometry").toRect(), once);
        QCOMPARE(store->value("displayName").toString(), window->screen()->name());
        QCOMPARE(store->value("windowState").toInt(), 0);
    }
    window->saveWindowGeometry();
    {
        const auto store = DashboardSettings::openDashboardStore();
        // The window geometry moves down by 31 each time it is saved from the same place, and
        // the normal geometry loses 31 pixels at the top on every save: 62 after two.
        QCOMPARE(store->value("windowGeometry").toRect(), start.translated(0, 31));
        const QRect twice = store->value("windowNormalGeometry").toRect();
        QCOMPARE(twice.top(), start.top() + 62);
        QCOMPARE(twice.bottom(), start.bottom());
        QCOMPARE(twice.left(), start.left());
        QCOMPARE(twice.right(), start.right());
    }
}

void tst_DashboardMainWindowGeometry::saveThenRestore()
{
    const QRect placed(20, 40, 600, 400);
    {
        auto window = makeWindow();
        window->setGeometry(placed);
    } // saved on destruction
    auto window = makeWindow();
    QCOMPARE(window->geometry(), placed.translated(0, 31));
    QCOMPARE(window->normalGeometry(), placed.translated(0, 31));
    const auto store = DashboardSettings::openDashboardStore();
    QRect normal = placed;
    normal.setTop(placed.top() + 31);
    QCOMPARE(store->value("windowNormalGeometry").toRect(), normal);
}

void tst_DashboardMainWindowGeometry::defaultOfTheSavedScreenIsNotOffset()
{
    const QList<QScreen *> screens = QGuiApplication::screens();
    if (screens.size() < 2)
        QSKIP("needs the two-screen desktop");
    // The second screen starts at x 1920; its default rectangle is computed from its size
    // alone and lands on the first screen.
    QCOMPARE(screens.at(1)->name(), QStringLiteral("Right-1280x1024"));
    save({ { "displayName", screens.at(1)->name() } });
    auto window = makeWindow();
    QCOMPARE(window->geometry(), QRect(40, 120, 1200, 800));
}

QTEST_MAIN(tst_DashboardMainWindowGeometry)
#include "tst_dashboardmainwindow_geometry.moc"
