// The front end from the keyboard alone: every stop of the tab chain has an accessible name
// and shows that it has focus, Enter activates, Escape closes.

#include "dashboard_host.h"

#include <korvexdashboard.h>

#include <QAccessible>
#include <QImage>
#include <QQuickItem>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

class tst_FrontendKeyboard : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void tabChain_data();
    void tabChain();
    void enterActivatesTheFocusedEntry();
    void escapeClosesTheAboutDialog();

private:
    QQuickWindow *window() const { return m_host->window(); }
    QQuickItem *focused() const { return window()->activeFocusItem(); }
    QQuickItem *tabTo(const QString &objectName);
    QObject *find(const QString &objectName) const;

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<DashboardHost> m_host;
};

void tst_FrontendKeyboard::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_FrontendKeyboard::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_host = std::make_unique<DashboardHost>();
    DashboardHost::Options options;
    options.labelFolder = m_dir->filePath(QStringLiteral("labels"));
    QVERIFY2(m_host->start(options), qPrintable(m_host->errors().join(QLatin1Char('\n'))));
    window()->setGeometry(0, 0, 1400, 1000);
    QVERIFY(QTest::qWaitForWindowExposed(window()));
    QTRY_VERIFY(m_host->isReady());
    window()->requestActivate();
    QTRY_VERIFY(window()->isActive());
}

void tst_FrontendKeyboard::cleanup()
{
    m_host.reset();
    m_dir.reset();
}

QObject *tst_FrontendKeyboard::find(const QString &objectName) const
{
    QObject *root = m_host->rootItem();
    if (root->objectName() == objectName)
        return root;
    return root->findChild<QObject *>(objectName);
}

// Tabs until the named item has focus; null when the chain comes round without it.
QQuickItem *tst_FrontendKeyboard::tabTo(const QString &objectName)
{
    for (int i = 0; i < 400; ++i) {
        QTest::keyClick(window(), Qt::Key_Tab);
        if (focused() && focused()->objectName() == objectName)
            return focused();
    }
    return nullptr;
}

void tst_FrontendKeyboard::tabChain_data()
{
    QTest::addColumn<QString>("page");
    QTest::addColumn<QString>("mustReach");
    QTest::newRow("home") << "home" << "searchField";
    QTest::newRow("my labels") << "mylabels" << "openFolderButton";
    QTest::newRow("resources") << "resources" << "resourceGrid";
    QTest::newRow("settings") << "settings" << "settingsSections";
}

// Walks the whole tab chain of a page: it closes into a cycle, every stop has a name a screen
// reader can speak, and its pixels change when it takes focus.
void tst_FrontendKeyboard::tabChain()
{
    QFETCH(QString, page);
    QFETCH(QString, mustReach);
    QMetaObject::invokeMethod(m_host->rootItem(), "showPage", Q_ARG(QVariant, page));

    QList<QQuickItem *> stops;
    QStringList names;
    QImage before = window()->grabWindow();
    bool closed = false;
    for (int i = 0; i < 400 && !closed; ++i) {
        QTest::keyClick(window(), Qt::Key_Tab);
        QQuickItem *item = focused();
        QVERIFY2(item, "Tab left no item with focus");
        if (!stops.isEmpty() && item == stops.first()) {
            closed = true;
            break;
        }
        QVERIFY2(!stops.contains(item), qPrintable(QStringLiteral("the chain revisits %1 before closing")
                                                           .arg(item->objectName())));
        stops.append(item);

        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(item);
        QVERIFY2(accessible, qPrintable(QStringLiteral("no accessible interface for %1 (%2)")
                                                .arg(item->objectName(), item->metaObject()->className())));
        const QString name = accessible->text(QAccessible::Name);
        QVERIFY2(!name.trimmed().isEmpty(),
                 qPrintable(QStringLiteral("focus stop %1 (%2, %3) has no accessible name")
                                    .arg(i).arg(item->objectName(), item->metaObject()->className())));
        names.append(name);

        const QImage after = window()->grabWindow();
        const QRectF area = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()))
                                    .adjusted(-3, -3, 3, 3);
        const QRect pixels = QRectF(area.topLeft() * after.devicePixelRatio(),
                                    area.size() * after.devicePixelRatio()).toAlignedRect()
                                     .intersected(after.rect());
        QVERIFY2(!pixels.isEmpty(), qPrintable(QStringLiteral("focus stop \"%1\" is off screen").arg(name)));
        QVERIFY2(after.copy(pixels) != before.copy(pixels),
                 qPrintable(QStringLiteral("focus on \"%1\" is not visible").arg(name)));
        before = after;
    }
    QVERIFY2(closed, "the tab chain never came back to its first stop");
    QVERIFY2(stops.size() >= 10, qPrintable(names.join(QLatin1String(", "))));

    // A list takes focus on its current delegate: a stop counts for each named item it is in.
    QStringList objectNames;
    for (QQuickItem *item : stops) {
        for (QQuickItem *in = item; in; in = in->parentItem()) {
            if (!in->objectName().isEmpty())
                objectNames.append(in->objectName());
        }
    }
    QVERIFY2(objectNames.contains(mustReach), qPrintable(objectNames.join(QLatin1String(", "))));
    QVERIFY(objectNames.contains(QStringLiteral("overflowButton")));
    using G = DashboardGlobal;
    QVERIFY(objectNames.contains(QStringLiteral("nav_%1_%2").arg(G::NAV_APP).arg(G::APP_LABELDESIGNER)));
}

void tst_FrontendKeyboard::enterActivatesTheFocusedEntry()
{
    using G = DashboardGlobal;
    // The Resources page is made the first time it is shown.
    QVERIFY(!find(QStringLiteral("resourcesPage")));
    QQuickItem *entry = tabTo(QStringLiteral("nav_%1_%2").arg(G::NAV_RESOURCES).arg(G::APP_NULL));
    QVERIFY(entry);
    QTest::keyClick(window(), Qt::Key_Return);
    QTRY_VERIFY(find(QStringLiteral("resourcesPage")));
    QObject *resources = find(QStringLiteral("resourcesPage"));
    QTRY_VERIFY(resources->property("visible").toBool());
    QVERIFY(!find(QStringLiteral("homePage"))->property("visible").toBool());
}

void tst_FrontendKeyboard::escapeClosesTheAboutDialog()
{
    QQuickItem *more = tabTo(QStringLiteral("overflowButton"));
    QVERIFY(more);
    QTest::keyClick(window(), Qt::Key_Return);
    QObject *menu = find(QStringLiteral("overflowMenu"));
    QTRY_VERIFY(menu->property("opened").toBool());
    // Down to About, then Enter.
    QQuickItem *about = nullptr;
    for (int i = 0; i < 10 && !about; ++i) {
        QTest::keyClick(window(), Qt::Key_Down);
        if (focused() && focused()->objectName() == QStringLiteral("menu_%1").arg(MeatballsNavigationModel::NAV_ABOUT))
            about = focused();
    }
    QVERIFY2(about, "About cannot be reached with the arrow keys");
    QTest::keyClick(window(), Qt::Key_Return);
    QObject *dialog = find(QStringLiteral("aboutDialog"));
    QTRY_VERIFY(dialog->property("opened").toBool());
    QTest::keyClick(window(), Qt::Key_Escape);
    QTRY_VERIFY(!dialog->property("visible").toBool());
    // Focus goes back somewhere useful, not nowhere.
    QVERIFY(focused());
}

QTEST_MAIN(tst_FrontendKeyboard)
#include "tst_frontendkeyboard.moc"
