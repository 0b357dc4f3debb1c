// The front end from the keyboard alone: every stop of the tab chain has an accessible name
// and shows that it has focus, Enter activates, Escape closes.

#include "dashboard_host.h"
#include "front_end_pages.h"
#include "usable_host.h"

#include <korvexdashboard.h>

#include <QAccessible>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QQuickItem>
#include <QSettings>
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
    void spaceTogglesTheFavoriteOfTheCurrentEntry();
    void deleteRemovesTheCurrentFavorite();
    void cloudFavoritesAreRemovedFromTheKeyboard();

private:
    QQuickWindow *window() const { return m_host->window(); }
    QQuickItem *focused() const { return window()->activeFocusItem(); }
    QQuickItem *tabTo(const QString &objectName);
    bool pressEnterOn(const QString &objectName);
    static QString accessibleName(QQuickItem *item, const char *childName = nullptr);
    bool startHost(bool seed);
    static QString settingsFile() { return dashboardSettingsFile(); }
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
    // Every test starts from a user with no settings: no favourites, no history.
    QFile::remove(settingsFile());
    QVERIFY(startHost(true));
}

// Starts the dashboard on a fresh label folder, with its sample labels when seeded, and waits
// until its lists are filled: the other tabs' lists fill once the first frame is out.
bool tst_FrontendKeyboard::startHost(bool seed)
{
    DashboardHost::Options options;
    options.labelFolder = m_dir->filePath(seed ? QStringLiteral("labels") : QStringLiteral("empty"));
    options.seedLabelFolder = seed;
    if (!seed && !QDir().mkpath(options.labelFolder))
        return false;
    return startUsableHost(&m_host, options);
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

// Tabs until focus is in the named item (a list gives it to its current entry); null when the
// chain comes round without it.
QQuickItem *tst_FrontendKeyboard::tabTo(const QString &objectName)
{
    for (int i = 0; i < 400; ++i) {
        QTest::keyClick(window(), Qt::Key_Tab);
        for (QQuickItem *in = focused(); in; in = in->parentItem()) {
            if (in->objectName() == objectName)
                return in;
        }
    }
    return nullptr;
}

// Tabs to the named item and presses Enter there; false when Tab never reaches it.
bool tst_FrontendKeyboard::pressEnterOn(const QString &objectName)
{
    if (!tabTo(objectName))
        return false;
    QTest::keyClick(window(), Qt::Key_Return);
    return true;
}

void tst_FrontendKeyboard::tabChain_data()
{
    QTest::addColumn<QString>("page");
    QTest::addColumn<QStringList>("mustReach");
    QTest::addColumn<bool>("seeded");
    QTest::addColumn<bool>("rows");
    QTest::newRow("home") << "home" << QStringList { "searchField", "recentList" } << true << false;
    QTest::newRow("home, rows") << "home" << QStringList { "searchField", "fileRows" } << true << true;
    QTest::newRow("my labels") << "mylabels" << QStringList { "openFolderButton", "labelList" } << true << false;
    // An empty list has no current entry to mark: the list itself must show focus.
    QTest::newRow("my labels, empty") << "mylabels" << QStringList { "labelList" } << false << false;
    QTest::newRow("my labels, empty rows") << "mylabels" << QStringList { "fileRows" } << false << true;
    QTest::newRow("cloud, empty") << "cloud" << QStringList { "cloudList" } << true << false;
    QTest::newRow("resources") << "resources" << QStringList { "resourceGrid" } << true << false;
    QTest::newRow("settings") << "settings" << QStringList { "settingsSections" } << true << false;
}

// Walks the whole tab chain of a page: it closes into a cycle, every stop has a name a screen
// reader can speak, and its pixels change when it takes focus.
void tst_FrontendKeyboard::tabChain()
{
    QFETCH(QString, page);
    QFETCH(QStringList, mustReach);
    QFETCH(bool, seeded);
    QFETCH(bool, rows);
    if (!seeded)
        QVERIFY(startHost(false));
    if (rows) {
        QQuickItem *button = qobject_cast<QQuickItem *>(find(QStringLiteral("rowsButton")));
        QVERIFY(button);
        QVERIFY(QMetaObject::invokeMethod(button, "clicked"));
        QTRY_VERIFY(!find(QStringLiteral("homePage"))->property("tiles").toBool());
    }
    QVERIFY(FrontEndPages::show(m_host->rootItem(), page));

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
    for (const QString &name : mustReach)
        QVERIFY2(objectNames.contains(name), qPrintable(name + QLatin1String(" not in ") + objectNames.join(QLatin1String(", "))));
    QVERIFY(objectNames.contains(QStringLiteral("overflowButton")));
    using G = DashboardGlobal;
    QVERIFY(objectNames.contains(QStringLiteral("nav_%1_%2").arg(G::NAV_APP).arg(G::APP_LABELDESIGNER)));
}

void tst_FrontendKeyboard::enterActivatesTheFocusedEntry()
{
    using G = DashboardGlobal;
    // The Resources page is made the first time it is shown.
    QVERIFY(!find(QStringLiteral("resourcesPage")));
    QVERIFY(pressEnterOn(QStringLiteral("nav_%1_%2").arg(G::NAV_RESOURCES).arg(G::APP_NULL)));
    QTRY_VERIFY(find(QStringLiteral("resourcesPage")));
    QObject *resources = find(QStringLiteral("resourcesPage"));
    QTRY_VERIFY(resources->property("visible").toBool());
    QVERIFY(!find(QStringLiteral("homePage"))->property("visible").toBool());
}

void tst_FrontendKeyboard::escapeClosesTheAboutDialog()
{
    QVERIFY(pressEnterOn(QStringLiteral("overflowButton")));
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

QString tst_FrontendKeyboard::accessibleName(QQuickItem *item, const char *childName)
{
    if (item && childName)
        item = item->findChild<QQuickItem *>(QString::fromLatin1(childName));
    QAccessibleInterface *accessible = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
    return accessible ? accessible->text(QAccessible::Name) : QString();
}

// A list is one tab stop; its entries' stars are reached with the arrows and Space, and the
// entry stays current after its favourite changes.
void tst_FrontendKeyboard::spaceTogglesTheFavoriteOfTheCurrentEntry()
{
    QQuickItem *grid = tabTo(QStringLiteral("fileGrid"));
    QVERIFY(grid);
    QCOMPARE(grid->parentItem()->objectName(), QStringLiteral("recentList"));
    QObject *favorites = find(QStringLiteral("favoriteList"));
    const int before = favorites->property("count").toInt();

    // The arrows move the current entry; on to the next one that is not a favourite yet.
    QCOMPARE(grid->property("currentIndex").toInt(), 0);
    QTest::keyClick(window(), Qt::Key_Right);
    QCOMPARE(grid->property("currentIndex").toInt(), 1);
    QQuickItem *current = nullptr;
    for (int i = 0; i < 10; ++i) {
        current = grid->property("currentItem").value<QQuickItem *>();
        QVERIFY(current);
        if (accessibleName(current, "favoriteButton").startsWith(QLatin1String("Add ")))
            break;
        QTest::keyClick(window(), Qt::Key_Right);
    }
    const QString entry = accessibleName(current);
    const QString star = accessibleName(current, "favoriteButton");
    QVERIFY2(star.startsWith(QLatin1String("Add ")), qPrintable(star));

    QTest::keyClick(window(), Qt::Key_Space);
    QTRY_COMPARE(favorites->property("count").toInt(), before + 1);
    QVERIFY(grid->hasActiveFocus());
    current = grid->property("currentItem").value<QQuickItem *>();
    QCOMPARE(accessibleName(current), entry);
    QCOMPARE(accessibleName(current, "favoriteButton"), QString(star).replace(0, 4, QStringLiteral("Remove ")).replace(QLatin1String(" to "), QLatin1String(" from ")));

    QTest::keyClick(window(), Qt::Key_Space);
    QTRY_COMPARE(favorites->property("count").toInt(), before);
    QCOMPARE(accessibleName(grid->property("currentItem").value<QQuickItem *>(), "favoriteButton"), star);
}

void tst_FrontendKeyboard::deleteRemovesTheCurrentFavorite()
{
    QVERIFY(pressEnterOn(QStringLiteral("tab_2")));
    QObject *favorites = find(QStringLiteral("favoriteList"));
    QTRY_VERIFY(favorites->property("visible").toBool());
    const int before = favorites->property("count").toInt();
    QVERIFY(before > 0);
    QVERIFY(tabTo(QStringLiteral("favoriteList")));
    QTest::keyClick(window(), Qt::Key_Delete);
    QTRY_COMPARE(favorites->property("count").toInt(), before - 1);
}

void tst_FrontendKeyboard::cloudFavoritesAreRemovedFromTheKeyboard()
{
    m_host.reset();
    {
        QSettings store(settingsFile(), QSettings::IniFormat);
        const int service = DashboardGlobal::LABEL_DROPBOX;
        for (const char *name : { "plan.kxld", "site.kxld" })
            store.setValue(QStringLiteral("cloudFavorites/%1%2").arg(service).arg(QLatin1String(name)), true);
    }
    QVERIFY(startHost(true));
    QVERIFY(FrontEndPages::show(m_host->rootItem(), QStringLiteral("cloud")));
    QObject *page = find(QStringLiteral("cloudPage"));
    QTRY_VERIFY(page && page->property("visible").toBool());
    QCOMPARE(page->property("listModel").value<QAbstractItemModel *>()->rowCount(), 2);
    QVERIFY(tabTo(QStringLiteral("cloudList")));

    QTest::keyClick(window(), Qt::Key_Delete);
    QTRY_COMPARE(page->property("listModel").value<QAbstractItemModel *>()->rowCount(), 1);
    QTest::keyClick(window(), Qt::Key_Space);
    QTRY_COMPARE(page->property("listModel").value<QAbstractItemModel *>()->rowCount(), 0);
    QSettings store(settingsFile(), QSettings::IniFormat);
    store.beginGroup(QStringLiteral("cloudFavorites"));
    QCOMPARE(store.allKeys(), QStringList());
}

QTEST_MAIN(tst_FrontendKeyboard)
#include "tst_frontendkeyboard.moc"
