// Focus frames show once the keyboard is used and hide after a mouse press; label names cut
// short in a tile or row show whole in a tooltip and reach a screen reader whole. Everything
// through real key and mouse events on the window, and the pixels it shows.

#include "dashboard_host.h"
#include "usable_host.h"

#include <korvexdashboard.h>

#include <QAccessible>
#include <QColor>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QQmlContext>
#include <QQmlExpression>
#include <QQmlProperty>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QtQuickTest/quicktest.h>

#include <memory>

class tst_FrontendFocus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void listFrames_data();
    void listFrames();
    void emptyListFrame();
    void navigationButtonFrame();
    void modifierAloneAndShortcut();
    void styleDrawnFrameGoesWithAClick();
    void cutNamesShowWhole_data();
    void cutNamesShowWhole();
    void cutSideBarNamesShowWhole();

private:
    QQuickWindow *window() const { return m_host->window(); }
    QQuickItem *focused() const { return window()->activeFocusItem(); }
    bool startHost(const QString &labelFolder, bool seed);
    QQuickItem *find(const QString &objectName) const;
    QQuickItem *findVisible(QQuickItem *in, const QString &objectName) const;
    bool focusIsIn(const QString &objectName) const;
    QQuickItem *tabTo(const QString &objectName);
    void click(QQuickItem *item);
    int focusPixels(QQuickItem *item = nullptr);
    QStringList toolTipTexts() const;
    static QString settingsFile() { return dashboardSettingsFile(); }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<DashboardHost> m_host;
    QColor m_focusColor;
};

void tst_FrontendFocus::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_FrontendFocus::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    QFile::remove(settingsFile());
}

void tst_FrontendFocus::cleanup()
{
    m_host.reset();
    m_dir.reset();
    QFile::remove(settingsFile());
}

bool tst_FrontendFocus::startHost(const QString &labelFolder, bool seed)
{
    DashboardHost::Options options;
    options.labelFolder = labelFolder;
    options.seedLabelFolder = seed;
    if (!startUsableHost(&m_host, options))
        return false;
    // The colour the frames are drawn in, as the front end's theme has it.
    QQmlExpression expression(qmlContext(m_host->rootItem()), m_host->rootItem(), QStringLiteral("Theme.focus"));
    m_focusColor = expression.evaluate().value<QColor>();
    return m_focusColor.isValid() && QQuickTest::qWaitForPolish(window());
}

QQuickItem *tst_FrontendFocus::find(const QString &objectName) const
{
    return m_host->rootItem()->findChild<QQuickItem *>(objectName);
}

// The first visible item of that name under in, through the visual tree: delegates have no
// QObject parent.
QQuickItem *tst_FrontendFocus::findVisible(QQuickItem *in, const QString &objectName) const
{
    QList<QQuickItem *> pending { in };
    while (!pending.isEmpty()) {
        QQuickItem *item = pending.takeFirst();
        if (item != in && item->isVisible() && item->objectName() == objectName)
            return item;
        pending.append(item->childItems());
    }
    return nullptr;
}

bool tst_FrontendFocus::focusIsIn(const QString &objectName) const
{
    for (QQuickItem *in = focused(); in; in = in->parentItem()) {
        if (in->objectName() == objectName)
            return true;
    }
    return false;
}

QQuickItem *tst_FrontendFocus::tabTo(const QString &objectName)
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

void tst_FrontendFocus::click(QQuickItem *item)
{
    QVERIFY(item);
    QVERIFY(item->isVisible());
    QVERIFY(QQuickTest::qWaitForPolish(window()));
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QTest::mouseClick(window(), Qt::LeftButton, {}, centre.toPoint());
}

// Pixels of the focus colour in the item and a few pixels around it (the whole window without
// an item), in what the window shows now.
int tst_FrontendFocus::focusPixels(QQuickItem *item)
{
    const QImage image = window()->grabWindow().convertToFormat(QImage::Format_RGB32);
    QRect area = image.rect();
    if (item) {
        const QRectF scene = item->mapRectToScene(QRectF(0, 0, item->width(), item->height())).adjusted(-3, -3, 3, 3);
        area = QRectF(scene.topLeft() * image.devicePixelRatio(), scene.size() * image.devicePixelRatio())
                       .toAlignedRect().intersected(image.rect());
    }
    const QRgb focus = m_focusColor.rgb();
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const QRgb *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = area.left(); x <= area.right(); ++x)
            count += line[x] == focus ? 1 : 0;
    }
    return count;
}

// The texts the window's popups show now: only a tooltip is open in these tests.
QStringList tst_FrontendFocus::toolTipTexts() const
{
    QStringList texts;
    QList<QPair<QQuickItem *, bool>> pending { { window()->contentItem(), false } };
    while (!pending.isEmpty()) {
        const auto [item, inPopup] = pending.takeFirst();
        if (!item->isVisible())
            continue;
        if (inPopup && item->inherits("QQuickText"))
            texts.append(item->property("text").toString());
        const bool below = inPopup || item->inherits("QQuickPopupItem");
        const auto children = item->childItems();
        for (QQuickItem *child : children)
            pending.append({ child, below });
    }
    return texts;
}

void tst_FrontendFocus::listFrames_data()
{
    QTest::addColumn<bool>("rows");
    QTest::newRow("tiles") << false;
    QTest::newRow("rows") << true;
}

// The file list takes focus at start and after a click on a tab, yet shows no frame until a
// key is used; a mouse press hides the frame again though the list keeps focus.
void tst_FrontendFocus::listFrames()
{
    QFETCH(bool, rows);
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels")), true));
    const QString viewName = rows ? QStringLiteral("fileRows") : QStringLiteral("fileGrid");

    // Right after start, Home's first list has focus and a current entry, and nothing is framed.
    QTRY_VERIFY(focusIsIn(QStringLiteral("recentList")));
    QQuickItem *recents = findVisible(find(QStringLiteral("recentList")), QStringLiteral("fileGrid"));
    QVERIFY(recents);
    QVERIFY(recents->hasActiveFocus());
    QCOMPARE(recents->property("currentIndex").toInt(), 0);
    QVERIFY(recents->property("currentItem").value<QQuickItem *>());
    QCOMPARE(focusPixels(), 0);

    if (rows) {
        click(find(QStringLiteral("rowsButton")));
        QTRY_VERIFY(!find(QStringLiteral("homePage"))->property("tiles").toBool());
    }
    // A click on a tab gives its list focus.
    click(findVisible(m_host->rootItem(), QStringLiteral("tab_1")));
    QTRY_VERIFY(focusIsIn(QStringLiteral("labelList")));
    QQuickItem *list = find(QStringLiteral("labelList"));
    QQuickItem *view = findVisible(list, viewName);
    QVERIFY(view);
    QVERIFY(view->hasActiveFocus());
    QVERIFY(QQuickTest::qWaitForPolish(window()));
    QCOMPARE(view->property("currentIndex").toInt(), 0);
    QQuickItem *current = view->property("currentItem").value<QQuickItem *>();
    QVERIFY(current);
    QCOMPARE(focusPixels(), 0);

    // An arrow key moves the current entry, and the frame shows on it. On to a label: folders
    // come first and have no star.
    QTest::keyClick(window(), rows ? Qt::Key_Down : Qt::Key_Right);
    QCOMPARE(view->property("currentIndex").toInt(), 1);
    current = view->property("currentItem").value<QQuickItem *>();
    QVERIFY(current);
    QTRY_VERIFY(focusPixels(current) > 40);
    for (int i = 0; i < 20 && current->property("isFolder").toBool(); ++i) {
        QTest::keyClick(window(), rows ? Qt::Key_Down : Qt::Key_Right);
        current = view->property("currentItem").value<QQuickItem *>();
        QVERIFY(current);
    }
    QVERIFY(!current->property("isFolder").toBool());
    const int labelIndex = view->property("currentIndex").toInt();
    QTRY_VERIFY(focusPixels(current) > 40);

    // A click on the entry's star: the list keeps focus and its frame goes.
    QQuickItem *star = findVisible(current, QStringLiteral("favoriteButton"));
    QVERIFY(star);
    click(star);
    QTRY_COMPARE(focusPixels(), 0);
    QVERIFY(view->hasActiveFocus());

    // Back with the next key.
    QCOMPARE(view->property("currentIndex").toInt(), labelIndex);
    QTest::keyClick(window(), rows ? Qt::Key_Up : Qt::Key_Left);
    QCOMPARE(view->property("currentIndex").toInt(), labelIndex - 1);
    current = view->property("currentItem").value<QQuickItem *>();
    QTRY_VERIFY(focusPixels(current) > 40);
}

// An empty list marks focus on itself; it does so only after keyboard use too.
void tst_FrontendFocus::emptyListFrame()
{
    const QString folder = m_dir->filePath(QStringLiteral("empty"));
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(startHost(folder, false));
    QQuickItem *list = find(QStringLiteral("recentList"));
    QCOMPARE(list->property("count").toInt(), 0);
    QTRY_VERIFY(focusIsIn(QStringLiteral("recentList")));
    QQuickItem *frame = list->findChild<QQuickItem *>(QStringLiteral("listFocusFrame"));
    QVERIFY(frame);
    QVERIFY(!frame->isVisible());
    QCOMPARE(focusPixels(), 0);

    // Round the tab chain back to the list: now it shows.
    QVERIFY(tabTo(QStringLiteral("recentList")));
    QTRY_VERIFY(frame->isVisible());
    QTRY_VERIFY(focusPixels(list) > 100);

    // A click into the list (on its empty state): focus stays, the frame goes.
    click(findVisible(list, QStringLiteral("emptyState")));
    QTRY_VERIFY(!frame->isVisible());
    QVERIFY(focusIsIn(QStringLiteral("recentList")));
    QCOMPARE(focusPixels(), 0);
}

// A navigation button reached with Tab shows its frame until the next mouse press, even one
// that leaves it focus; one clicked with the mouse takes focus without one.
void tst_FrontendFocus::navigationButtonFrame()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels")), true));
    QCOMPARE(focusPixels(), 0);
    QQuickItem *resources = tabTo(QStringLiteral("nav_%1_%2").arg(DashboardGlobal::NAV_RESOURCES).arg(DashboardGlobal::APP_NULL));
    QVERIFY(resources);
    QTRY_VERIFY(focusPixels(resources) > 40);

    // A click that takes no focus (a tile's star): the button keeps focus, its frame goes.
    QQuickItem *grid = findVisible(find(QStringLiteral("recentList")), QStringLiteral("fileGrid"));
    QVERIFY(grid);
    QQuickItem *star = findVisible(grid->property("currentItem").value<QQuickItem *>(), QStringLiteral("favoriteButton"));
    QVERIFY(star);
    click(star);
    QTRY_COMPARE(focusPixels(), 0);
    QVERIFY(resources->hasActiveFocus());
    QTest::keyClick(window(), Qt::Key_Tab);
    QTest::keyClick(window(), Qt::Key_Backtab, Qt::ShiftModifier);
    QVERIFY(resources->hasActiveFocus());
    QTRY_VERIFY(focusPixels(resources) > 40);

    QQuickItem *home = nullptr;
    QList<QQuickItem *> pending { m_host->rootItem() };
    while (!pending.isEmpty() && !home) {
        QQuickItem *item = pending.takeFirst();
        if (item->isVisible() && item->objectName().startsWith(QStringLiteral("nav_%1_").arg(DashboardGlobal::NAV_HOME)))
            home = item;
        pending.append(item->childItems());
    }
    QVERIFY(home);
    click(home);
    QTRY_COMPARE(focusPixels(), 0);
    // The click did move focus (to the button or the page it shows): it is not just gone.
    QVERIFY(focused());
    QVERIFY(!resources->hasActiveFocus());

    QTest::keyClick(window(), Qt::Key_Tab);
    QVERIFY(focused());
    QTRY_VERIFY(focusPixels(focused()) > 40);

    // Focus a module hands back (its Tab went to its own process) is keyboard focus too.
    click(home);
    QTRY_COMPARE(focusPixels(), 0);
    resources->forceActiveFocus(Qt::TabFocusReason);
    QTRY_VERIFY(focusPixels(resources) > 40);
    // Focus moved by the program for another reason shows no frame.
    click(home);
    QTRY_COMPARE(focusPixels(), 0);
    resources->forceActiveFocus(Qt::OtherFocusReason);
    QVERIFY(resources->hasActiveFocus());
    QVERIFY(QQuickTest::qWaitForPolish(window()));
    QCOMPARE(focusPixels(), 0);
}

// Shift or Ctrl alone is no keyboard use (it often starts a Ctrl+click); a shortcut is, though
// the shortcut takes its key press before the window sees it.
void tst_FrontendFocus::modifierAloneAndShortcut()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels")), true));
    QTRY_VERIFY(focusIsIn(QStringLiteral("recentList")));
    QQuickItem *grid = findVisible(find(QStringLiteral("recentList")), QStringLiteral("fileGrid"));
    QVERIFY(grid && grid->hasActiveFocus());
    QQmlExpression shown(qmlContext(m_host->rootItem()), m_host->rootItem(), QStringLiteral("FocusFrames.shown"));
    for (Qt::Key key : { Qt::Key_Shift, Qt::Key_Control, Qt::Key_Alt }) {
        QTest::keyClick(window(), key);
        QVERIFY(QQuickTest::qWaitForPolish(window()));
        QCOMPARE(focusPixels(), 0);
        QCOMPARE(shown.evaluate().toBool(), false);
    }

    // Ctrl+F goes to the search field.
    QTest::keyClick(window(), Qt::Key_F, Qt::ControlModifier);
    QTRY_VERIFY(focusIsIn(QStringLiteral("searchField")));
    QCOMPARE(shown.evaluate().toBool(), true);
    // And on to the list: framed.
    QVERIFY(tabTo(QStringLiteral("recentList")));
    QVERIFY(grid->hasActiveFocus());
    QTRY_VERIFY(focusPixels(grid->property("currentItem").value<QQuickItem *>()) > 40);
}

// A control the style draws its focus for (the sort box) shows it after Tab, and loses it at
// a click that leaves it the focus, as the front end's own frames do.
void tst_FrontendFocus::styleDrawnFrameGoesWithAClick()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels")), true));
    QQuickItem *sortBox = tabTo(QStringLiteral("sortBox"));
    QVERIFY(sortBox);
    QVERIFY(sortBox->hasActiveFocus());
    QVERIFY(sortBox->property("visualFocus").toBool());

    QQuickItem *grid = findVisible(find(QStringLiteral("recentList")), QStringLiteral("fileGrid"));
    QVERIFY(grid);
    QQuickItem *star = findVisible(grid->property("currentItem").value<QQuickItem *>(), QStringLiteral("favoriteButton"));
    QVERIFY(star);
    click(star);
    QVERIFY(sortBox->hasActiveFocus());
    QTRY_VERIFY(!sortBox->property("visualFocus").toBool());

    // Keyboard use brings it back.
    QTest::keyClick(window(), Qt::Key_Tab);
    QTest::keyClick(window(), Qt::Key_Backtab, Qt::ShiftModifier);
    QVERIFY(sortBox->hasActiveFocus());
    QTRY_VERIFY(sortBox->property("visualFocus").toBool());
}

void tst_FrontendFocus::cutNamesShowWhole_data()
{
    QTest::addColumn<bool>("rows");
    QTest::newRow("tiles") << false;
    QTest::newRow("rows") << true;
}

// A name too long for its tile or row shows whole in a tooltip while the pointer is on the
// entry, and its accessible name has it whole; a name that fits has no tooltip.
void tst_FrontendFocus::cutNamesShowWhole()
{
    QFETCH(bool, rows);
    const QString folder = m_dir->filePath(QStringLiteral("names"));
    QVERIFY(QDir().mkpath(folder));
    const QString longName = QStringLiteral("Ammonia refrigeration pipe marking for the north plant, "
                                            "second floor, building seven, revision fourteen, checked "
                                            "by the safety office and approved for print.kxld");
    const QString shortName = QStringLiteral("Tag.kxld");
    for (const QString &name : { longName, shortName }) {
        QFile file(folder + QLatin1Char('/') + name);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QVERIFY(startHost(folder, false));
    if (rows) {
        click(find(QStringLiteral("rowsButton")));
        QTRY_VERIFY(!find(QStringLiteral("homePage"))->property("tiles").toBool());
    }
    click(findVisible(m_host->rootItem(), QStringLiteral("tab_1")));
    QQuickItem *list = find(QStringLiteral("labelList"));
    QTRY_VERIFY(list->isVisible());
    QCOMPARE(list->property("count").toInt(), 2);
    QVERIFY(QQuickTest::qWaitForPolish(window()));

    const QString textName = rows ? QStringLiteral("rowName") : QStringLiteral("tileName");
    QQuickItem *view = findVisible(list, rows ? QStringLiteral("fileRows") : QStringLiteral("fileGrid"));
    QVERIFY(view);
    QQuickItem *longText = nullptr;
    QQuickItem *shortText = nullptr;
    QList<QQuickItem *> pending { view };
    while (!pending.isEmpty()) {
        QQuickItem *item = pending.takeFirst();
        if (item->isVisible() && item->objectName() == textName) {
            if (item->property("text").toString() == longName)
                longText = item;
            else if (item->property("text").toString() == shortName)
                shortText = item;
        }
        pending.append(item->childItems());
    }
    QVERIFY(longText);
    QVERIFY(shortText);
    // The long name is cut on screen; the short one is not.
    QVERIFY(longText->property("truncated").toBool());
    QVERIFY(!shortText->property("truncated").toBool());

    // The entry (a tile or row is the delegate under the view's content item).
    const auto entryOf = [view](QQuickItem *item) {
        QQuickItem *content = view->property("contentItem").value<QQuickItem *>();
        while (item && item->parentItem() != content)
            item = item->parentItem();
        return item;
    };
    QQuickItem *longEntry = entryOf(longText);
    QQuickItem *shortEntry = entryOf(shortText);
    QVERIFY(longEntry && shortEntry && longEntry != shortEntry);

    // A screen reader reads the whole name.
    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(longEntry);
    QVERIFY(accessible);
    QVERIFY2(accessible->text(QAccessible::Name).contains(longName), qPrintable(accessible->text(QAccessible::Name)));

    QVERIFY(toolTipTexts().isEmpty());
    // The pointer on the long name's entry (on its name, away from the star).
    const QPoint onLong = longText->mapToScene(QPointF(longText->width() / 2, longText->height() / 2)).toPoint();
    QTest::mouseMove(window(), onLong);
    QTRY_COMPARE(toolTipTexts(), QStringList { longName });

    // On the short one: the tooltip goes, and none is asked for there.
    const QPoint onShort = shortText->mapToScene(QPointF(shortText->width() / 2, shortText->height() / 2)).toPoint();
    QTest::mouseMove(window(), onShort);
    QTRY_VERIFY(toolTipTexts().isEmpty());
    QVERIFY(QQuickTest::qWaitForPolish(window()));
    const QQmlProperty wanted(shortText, QStringLiteral("ToolTip.visible"), qmlContext(shortText));
    QVERIFY(wanted.isValid());
    QCOMPARE(wanted.read().toBool(), false);
    // While the same question on the long entry, from where the pointer is, says no as well:
    // the tooltip follows the pointer, not just the cut.
    const QQmlProperty wantedLong(longText, QStringLiteral("ToolTip.visible"), qmlContext(longText));
    QCOMPARE(wantedLong.read().toBool(), false);

    // A keyboard user sees it whole too, on the current entry, wherever the pointer is.
    QVERIFY(tabTo(QStringLiteral("labelList")));
    const Qt::Key back = rows ? Qt::Key_Up : Qt::Key_Left;
    const Qt::Key on = rows ? Qt::Key_Down : Qt::Key_Right;
    QTest::keyClick(window(), back);
    QTRY_VERIFY(wantedLong.read().toBool());
    QTRY_COMPARE(toolTipTexts(), QStringList { longName });
    QTest::keyClick(window(), on);
    QTRY_VERIFY(toolTipTexts().isEmpty());
    QCOMPARE(wantedLong.read().toBool(), false);
}

// An entry of the side bar (a running label's file name, a long module name) shows whole on
// hover when it is cut; one that fits shows no tooltip.
void tst_FrontendFocus::cutSideBarNamesShowWhole()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels")), true));
    using G = DashboardGlobal;
    QQuickItem *cut = findVisible(m_host->rootItem(), QStringLiteral("nav_%1_%2").arg(G::NAV_APP).arg(G::APP_LABELDESIGNER));
    QQuickItem *whole = findVisible(m_host->rootItem(), QStringLiteral("nav_%1_%2").arg(G::NAV_APP).arg(G::APP_NFPA));
    QVERIFY(cut && whole);
    const QString longName = QStringLiteral("Conveyor pinch point, line 2, north hall, revision 14.kxld");
    cut->setProperty("text", longName);
    QVERIFY(QQuickTest::qWaitForPolish(window()));

    QVERIFY(toolTipTexts().isEmpty());
    QTest::mouseMove(window(), cut->mapToScene(QPointF(cut->width() / 2, cut->height() / 2)).toPoint());
    QTRY_COMPARE(toolTipTexts(), QStringList { longName });
    QTest::mouseMove(window(), whole->mapToScene(QPointF(whole->width() / 2, whole->height() / 2)).toPoint());
    QTRY_VERIFY(toolTipTexts().isEmpty());
    QCOMPARE(QQmlProperty(whole, QStringLiteral("ToolTip.visible"), qmlContext(whole)).read().toBool(), false);
}

QTEST_MAIN(tst_FrontendFocus)
#include "tst_frontendfocus.moc"
