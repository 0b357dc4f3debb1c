#include "dashboard_host.h"
#include "file_list_model.h"
#include "front_end_pages.h"
#include "host_services.h"
#include "label_folder.h"
#include "printing/printer_directory.h"
#include "start_shell.h"
#include "url_recorder.h"
#include "usable_host.h"
#include "widgetutils/file_controller_tools.h"
#include "window_shell.h"

#include <korvexdashboard.h>

#include <QColor>
#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFont>
#include <QFontDatabase>
#include <QGlyphRun>
#include <QJSValue>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTextLayout>
#include <QtQuickTest/quicktest.h>

#include <algorithm>
#include <atomic>
#include <memory>


// The application fonts in the font database: each one added stays until it is removed.
int applicationFontCount()
{
    int count = 0;
    for (int id = 0; id < 1024; ++id)
        count += QFontDatabase::applicationFontFamilies(id).isEmpty() ? 0 : 1;
    return count;
}

// Collects every warning (and worse) written while it lives: the front end must load and run
// without any.
class WarningCollector
{
public:
    WarningCollector() { s_lines.clear(); m_previous = qInstallMessageHandler(handler); }
    ~WarningCollector() { qInstallMessageHandler(m_previous); }
    static QStringList lines() { return s_lines; }

private:
    static void handler(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (type != QtDebugMsg && type != QtInfoMsg)
            s_lines.append(QString::fromLatin1(context.category) + QLatin1String(": ") + message);
    }
    static inline QStringList s_lines;
    QtMessageHandler m_previous = nullptr;
};

class tst_Frontend : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void loadsWithoutWarnings();
    void shellFirst_data();
    void shellFirst();
    void homeListsItsLabelsInItsFirstFrame();
    void printersAreReadOnceTheFrontEndIsDrawn();
    void frontEndThatFailsAfterTheShell_data();
    void frontEndThatFailsAfterTheShell();
    void everyPageFromTheNavigationBar();
    void sideBarStaysUnderThePointer_data();
    void sideBarStaysUnderThePointer();
    void addressNothingOpensIsSaid_data();
    void addressNothingOpensIsSaid();
    void searchSortAndFavorite();
    void enterAndLeaveFolders();
    void myLabelsFollowsTheFolder();
    void recentlyViewedFollowsTheModules();
    void changeAndResetSettings();
    void germanAtOnce();
    void languagesAreNamedInThemselves();
    void languageNamesHaveGlyphs();
    void settingsSectionByMouse_data();
    void settingsSectionByMouse();
    void aboutShowsTheLicence();
    void aboutFollowsTheTheme();

    void emptyLabelFolder();
    void missingLabelFolder();
    void manyFilesStayResponsive();
    void missingModuleExecutable();
    void moduleThatNeverShowsItsWindow();
    void firmwareNoticeNamesThePrinter();
    void missingLicenceFile();
    void malformedSettingsFile_data();
    void malformedSettingsFile();

private:
    bool startHost(const QString &labelFolder, bool seed = true);
    QObject *find(const char *objectName) const;
    QObject *rootObject(const char *property) const;
    QQuickItem *findItem(QObject *in, const QString &objectName) const;
    QList<QQuickItem *> findItems(QObject *in, const QString &objectName) const;
    QList<QQuickItem *> findItems(QObject *in, const QRegularExpression &objectNames) const;
    void click(QQuickItem *item);
    void showPage(const QString &name);
    // Starts the host and shows the language list of the settings page; null if it is not there.
    QQuickItem *showLanguageBox();
    QStringList names(QObject *list) const;
    static QString recordName(QVariant value);
    QString settingsFile() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<WarningCollector> m_warnings;
    std::unique_ptr<DashboardHost> m_host;
    UrlRecorder m_urls;
    QRegularExpression m_expectedWarning;
};

void tst_Frontend::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QDesktopServices::setUrlHandler(QStringLiteral("https"), &m_urls, "open");
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &m_urls, "open");
}

void tst_Frontend::cleanupTestCase()
{
    QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
}

void tst_Frontend::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    // Every test starts from a user with no settings.
    QFile::remove(settingsFile());
    m_urls.urls.clear();
    m_warnings = std::make_unique<WarningCollector>();
}

void tst_Frontend::cleanup()
{
    m_host.reset();
    QFile::remove(settingsFile());
    QStringList warnings = WarningCollector::lines();
    // Qt's own complaint about a value it cannot decode, from a test that writes one.
    warnings.removeIf([this](const QString &line) { return m_expectedWarning.isValid()
                                                           && !m_expectedWarning.pattern().isEmpty()
                                                           && m_expectedWarning.match(line).hasMatch(); });
    m_expectedWarning = QRegularExpression();
    m_warnings.reset();
    QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(QLatin1Char('\n'))));
}

QString tst_Frontend::settingsFile() const
{
    return dashboardSettingsFile();
}

bool tst_Frontend::startHost(const QString &labelFolder, bool seed)
{
    m_host = std::make_unique<DashboardHost>();
    DashboardHost::Options options;
    options.labelFolder = labelFolder;
    options.seedLabelFolder = seed;
    if (!m_host->start(options)) {
        qWarning("%s", qPrintable(m_host->errors().join(QLatin1Char('\n'))));
        return false;
    }
    // Large enough for every navigation entry to be on screen.
    m_host->window()->setGeometry(0, 0, 1400, 1000);
    if (!QTest::qWaitForWindowExposed(m_host->window()))
        return false;
    // The front end is made once the shell's frame is out.
    if (!QTest::qWaitFor([this] { return m_host->isReady(); }))
        return false;
    // The lists fill right after the first frame.
    for (const char *list : { "recentList", "labelList", "favoriteList" }) {
        QObject *object = find(list);
        if (!object || !QTest::qWaitFor([object] { return !object->property("busy").toBool(); }))
            return false;
    }
    return true;
}

QObject *tst_Frontend::find(const char *objectName) const
{
    return m_host->rootItem()->findChild<QObject *>(QLatin1String(objectName));
}

QObject *tst_Frontend::rootObject(const char *property) const
{
    return m_host->rootItem()->property(property).value<QObject *>();
}

// The first visible item of that name under in, through the visual tree (delegates have no
// QObject parent) and the object tree.
// Layouts show their current child when they are polished, so an item may need a frame.
QQuickItem *tst_Frontend::findItem(QObject *in, const QString &objectName) const
{
    QQuickItem *item = nullptr;
    (void)QTest::qWaitFor([&] {
        const QList<QQuickItem *> all = findItems(in, objectName);
        item = all.isEmpty() ? nullptr : all.first();
        return item != nullptr;
    }, 2000);
    return item;
}

QList<QQuickItem *> tst_Frontend::findItems(QObject *in, const QString &objectName) const
{
    return findItems(in, QRegularExpression(QRegularExpression::anchoredPattern(QRegularExpression::escape(objectName))));
}

QList<QQuickItem *> tst_Frontend::findItems(QObject *in, const QRegularExpression &objectNames) const
{
    QList<QQuickItem *> found;
    QList<QObject *> pending { in };
    QSet<QObject *> seen;
    while (!pending.isEmpty()) {
        QObject *object = pending.takeFirst();
        if (seen.contains(object))
            continue;
        seen.insert(object);
        auto *item = qobject_cast<QQuickItem *>(object);
        if (item && object != in && item->isVisible() && objectNames.match(item->objectName()).hasMatch())
            found.append(item);
        if (item) {
            const auto children = item->childItems();
            for (QQuickItem *child : children)
                pending.append(child);
        }
        const auto children = object->children();
        for (QObject *child : children) {
            pending.append(child);
        }
    }
    return found;
}

// Clicks where a user would, once the frame showing the item is ready: until the window's next
// polish, a list view that has just become visible still hides (culls) its delegates, and
// events pass through them to the view.
void tst_Frontend::click(QQuickItem *item)
{
    QVERIFY(item);
    QVERIFY(item->isVisible());
    QVERIFY(QQuickTest::qWaitForPolish(m_host->window()));
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QTest::mouseClick(m_host->window(), Qt::LeftButton, {}, centre.toPoint());
}

void tst_Frontend::showPage(const QString &name)
{
    QVERIFY(FrontEndPages::show(m_host->rootItem(), name));
    if (name == QLatin1String("about"))
        return;
    const char *page = name == QLatin1String("settings") ? "settingsPage"
            : name == QLatin1String("cloud")             ? "cloudPage"
            : name == QLatin1String("resources")         ? "resourcesPage"
                                                         : "homePage";
    QObject *item = find(page);
    QVERIFY(QTest::qWaitFor([item] { return item->property("visible").toBool(); }));
}

QStringList tst_Frontend::names(QObject *list) const
{
    QStringList result;
    auto *model = list->property("listModel").value<QAbstractItemModel *>();
    if (!model)
        return result;
    for (int row = 0; row < model->rowCount(); ++row)
        result.append(recordName(model->index(row, 0).data(FileListModel::EntryRole)));
    return result;
}

QString tst_Frontend::recordName(QVariant value)
{
    if (value.metaType() == QMetaType::fromType<QJSValue>())
        value = value.value<QJSValue>().toVariant();
    if (value.metaType() == QMetaType::fromType<DashboardFileInfoStruct>())
        return value.value<DashboardFileInfoStruct>().labelFileName;
    return value.toMap().value(QStringLiteral("labelFileName")).toString();
}

void tst_Frontend::loadsWithoutWarnings()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    QVERIFY(m_host->window()->isVisible());
    QObject *nav = find("navigationBar");
    QVERIFY(nav);
    QCOMPARE(nav->property("navItems").toList().size(), 14);
    // The seeded folder shows on Home: five recently viewed labels, one of them a favourite.
    QCOMPARE(find("recentList")->property("count").toInt(), 5);
    QCOMPARE(find("favoriteList")->property("count").toInt(), 1);
    QCOMPARE(m_host->rootItem()->property("page").toInt(), int(DashboardPage::Home));
}

void tst_Frontend::shellFirst_data()
{
    QTest::addColumn<bool>("dark");
    QTest::newRow("light") << false;
    QTest::newRow("dark") << true;
}

void tst_Frontend::shellFirst()
{
    QFETCH(bool, dark);
    {
        QSettings store(settingsFile(), QSettings::IniFormat);
        store.setValue(QStringLiteral("appearance"), !dark);
    }
    m_host = std::make_unique<DashboardHost>();
    DashboardHost::Options options;
    options.labelFolder = m_dir->filePath(QStringLiteral("labels"));
    QSignalSpy ready(m_host.get(), &DashboardHost::ready);
    QElapsedTimer sinceStart;
    sinceStart.start();
    QVERIFY(m_host->start(options));
    // The window is shown with its shell; the engine and the front end come after its first frame.
    QVERIFY(m_host->window()->isVisible());
    QVERIFY(!m_host->isReady());
    QVERIFY(!m_host->engine());
    QVERIFY(m_host->frontEndTimes().objects < 0);

    // What the first frame shows.
    bool firstFrame = true;
    bool readyAtFirstFrame = true;
    // Each shell filling the window: dark, its page colour, its side bar colour.
    QList<std::tuple<bool, QColor, QColor>> shells;
    QPointer<StartShell> shell;
    QQuickWindow *window = m_host->window();
    connect(window, &QQuickWindow::frameSwapped, this, [&] {
        if (!std::exchange(firstFrame, false))
            return;
        readyAtFirstFrame = m_host->isReady();
        for (QQuickItem *item : window->contentItem()->childItems()) {
            if (auto *found = qobject_cast<StartShell *>(item); found && found->isVisible()
                && found->size() == window->contentItem()->size()) {
                shells.append({ found->dark(), found->windowColor(), found->sideBarColor() });
                shell = found;
            }
        }
    }, Qt::DirectConnection);
    QVERIFY(ready.wait());
    const double startToReady = sinceStart.nsecsElapsed() / 1e6;
    QVERIFY(!firstFrame);
    QVERIFY(!readyAtFirstFrame);
    QCOMPARE(shells.size(), 1);
    // The engine was made with the front end, after the shell's frame; each phase took time,
    // all of it between start() and ready().
    const DashboardHost::FrontEndTimes times = m_host->frontEndTimes();
    QVERIFY(times.engine > 0);
    QVERIFY(times.types > 0);
    QVERIFY(times.objects > 0);
    QVERIFY2(times.engine + times.types + times.objects <= startToReady,
             qPrintable(QStringLiteral("%1 + %2 + %3 ms within %4 ms")
                                .arg(times.engine).arg(times.types).arg(times.objects).arg(startToReady)));
    const auto [shellDark, shellWindow, shellSideBar] = shells.constFirst();
    QCOMPARE(shellDark, dark);

    // The front end took the shell's place, in the same theme and colours.
    QVERIFY(m_host->isReady());
    QVERIFY(shell.isNull());
    QCOMPARE(window->contentItem()->childItems(), QList<QQuickItem *>{ m_host->rootItem() });
    QQmlComponent themeReader(m_host->engine());
    themeReader.setData("import QtQml\nimport Korvex.Dashboard\nQtObject { property QtObject theme: Theme }", QUrl());
    std::unique_ptr<QObject> reader(themeReader.create());
    QVERIFY2(reader, qPrintable(themeReader.errorString()));
    QObject *theme = reader->property("theme").value<QObject *>();
    QVERIFY(theme);
    QCOMPARE(theme->property("dark").toBool(), dark);
    QCOMPARE(theme->property("window").value<QColor>(), shellWindow);
    QCOMPARE(theme->property("navBackground").value<QColor>(), shellSideBar);
    QCOMPARE(find("navigationBar")->property("color").value<QColor>(), shellSideBar);
    // In English the side bar keeps the shell's width: nothing moves when the front end comes.
    QCOMPARE(find("navigationBar")->property("width").toInt(), WindowShell::SIDE_BAR_MINIMUM_WIDTH);
}

// The first frame of the front end lists the recently viewed labels, rather than a busy
// indicator over them; the lists of the other tabs are filled once that frame is out.
void tst_Frontend::homeListsItsLabelsInItsFirstFrame()
{
    m_host = std::make_unique<DashboardHost>();
    DashboardHost::Options options;
    options.labelFolder = m_dir->filePath(QStringLiteral("labels"));
    QVERIFY(m_host->start(options));
    QQuickWindow *window = m_host->window();
    // Taken when the scene of each frame is synchronised: what that frame shows.
    int frontEndFrames = 0;
    int recentCount = -1;
    bool recentBusy = true;
    bool spinner = true;
    bool labelsBusy = false;
    connect(window, &QQuickWindow::beforeSynchronizing, this, [&] {
        if (!m_host->isReady() || frontEndFrames++ > 0)
            return;
        QObject *recent = find("recentList");
        recentCount = recent->property("count").toInt();
        recentBusy = recent->property("busy").toBool();
        spinner = !findItems(recent, QStringLiteral("listBusyIndicator")).isEmpty();
        labelsBusy = find("labelList")->property("busy").toBool();
    }, Qt::DirectConnection);
    QTRY_VERIFY(frontEndFrames > 0);
    QVERIFY(!recentBusy);
    QVERIFY(!spinner);
    QCOMPARE(recentCount, 5);
    // Not filled yet, and saying so to anyone who switches to it.
    QVERIFY(labelsBusy);
    for (const char *list : { "labelList", "favoriteList" })
        QTRY_VERIFY(!find(list)->property("busy").toBool());
    QCOMPARE(find("labelList")->property("count").toInt(), 11);
    QCOMPARE(find("favoriteList")->property("count").toInt(), 1);
}

// Reading the machine's printers loads the print system's libraries on a thread of its own;
// the host starts it once the front end's first frame is out, not beside making it.
void tst_Frontend::printersAreReadOnceTheFrontEndIsDrawn()
{
    // A fresh directory, as a dashboard starting finds it: the real printers on, its first
    // reading due once the event loop runs.
    delete PrinterDirectory::instance();
    const QByteArray realPrinters = qgetenv("KORVEX_REAL_PRINTERS");
    qputenv("KORVEX_REAL_PRINTERS", "1");
    PrinterDirectory *printers = PrinterDirectory::instance();
    std::atomic<int> readings = 0;
    printers->setRealPrinterSource([&readings] {
        ++readings;
        return PrinterDirectory::RealReading {};
    });
    const auto restore = qScopeGuard([&] {
        m_host.reset();
        qputenv("KORVEX_REAL_PRINTERS", realPrinters);
        delete PrinterDirectory::instance();
    });

    m_host = std::make_unique<DashboardHost>();
    DashboardHost::Options options;
    options.labelFolder = m_dir->filePath(QStringLiteral("labels"));
    QVERIFY(m_host->start(options));
    int readingsAtFrontEnd = -1;
    connect(m_host.get(), &DashboardHost::ready, this, [&] { readingsAtFrontEnd = readings; });
    int frontEndFrames = 0;
    connect(m_host->window(), &QQuickWindow::frameSwapped, this, [&] { frontEndFrames += m_host->isReady() ? 1 : 0; });
    QTRY_VERIFY(frontEndFrames > 0);
    QCOMPARE(readingsAtFrontEnd, 0);
    // Read after all, once, and then on the usual schedule.
    QTRY_COMPARE(readings.load(), 1);
    QVERIFY(printers->realPrintersEnabled());
}

void tst_Frontend::frontEndThatFailsAfterTheShell_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("error");
    QTest::newRow("syntax error") << QByteArray("import QtQuick\nItem {\n") << QStringLiteral("front.qml:3");
    QTest::newRow("missing") << QByteArray() << QStringLiteral("front.qml");
    QTest::newRow("root not an item") << QByteArray("import QtQml\nQtObject { property var mainWindow; property var host }\n")
                                      << QStringLiteral("The front end's root is not an item.");
}

// A front end that cannot be made once the shell is on screen is reported, with the reason,
// and leaves the shell in place rather than an empty window.
void tst_Frontend::frontEndThatFailsAfterTheShell()
{
    QFETCH(QByteArray, document);
    QFETCH(QString, error);
    const QString path = m_dir->filePath(QStringLiteral("front.qml"));
    if (!document.isNull()) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(document), document.size());
    }
    m_host = std::make_unique<DashboardHost>();
    DashboardHost::Options options;
    options.labelFolder = m_dir->filePath(QStringLiteral("labels"));
    options.frontEnd = QUrl::fromLocalFile(path);
    QSignalSpy ready(m_host.get(), &DashboardHost::ready);
    QSignalSpy failed(m_host.get(), &DashboardHost::failed);
    QVERIFY(m_host->start(options));
    QVERIFY(m_host->window()->isVisible());
    QVERIFY(m_host->errors().isEmpty());

    QVERIFY(failed.wait());
    QCOMPARE(failed.count(), 1);
    QCOMPARE(ready.count(), 0);
    QVERIFY(!m_host->isReady());
    QVERIFY(!m_host->rootItem());
    const QString errors = m_host->errors().join(QLatin1Char('\n'));
    QVERIFY2(errors.contains(error), qPrintable(errors));
    const QList<QQuickItem *> shown = m_host->window()->contentItem()->childItems();
    QCOMPARE(shown.size(), 1);
    QVERIFY(qobject_cast<StartShell *>(shown.constFirst()));
}

void tst_Frontend::everyPageFromTheNavigationBar()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    QQuickItem *root = m_host->rootItem();
    using G = DashboardGlobal;
    const struct {
        int navType;
        DashboardPage::Page page;
    } pages[] = { { G::NAV_CLOUD, DashboardPage::Cloud }, { G::NAV_RESOURCES, DashboardPage::Resources },
                  { G::NAV_HOME, DashboardPage::Home } };
    for (const auto &entry : pages) {
        click(findItem(root, QStringLiteral("nav_%1_-1").arg(entry.navType)));
        QCOMPARE(root->property("page").toInt(), int(entry.page));
    }
    QVERIFY(find("cloudPage")->property("visible").toBool() == false);
    QVERIFY(find("homePage")->property("visible").toBool());

    // Support, live chat and feedback open their addresses.
    const int links[] = { G::NAV_URL_SUPPORT, G::NAV_URL_LIVECHAT, G::NAV_URL_FEEDBACK };
    for (int navType : links)
        click(findItem(root, QStringLiteral("nav_%1_-1").arg(navType)));
    QCOMPARE(m_urls.urls.size(), 3);
    QCOMPARE(m_urls.urls.at(0).toString(), m_host->services()->supportAddress());
    QCOMPARE(m_urls.urls.at(1).toString(), m_host->services()->liveChatAddress());
    QCOMPARE(m_urls.urls.at(2).toString(), m_host->services()->feedbackAddress());
    QCOMPARE(root->property("page").toInt(), int(DashboardPage::Home));

    // Settings and About through the overflow menu; Quit asks the engine to quit.
    // The menu is not part of the first frame; it is made once that frame is out.
    QTRY_VERIFY(rootObject("overflowMenu"));
    QObject *menu = rootObject("overflowMenu");
    click(findItem(root, QStringLiteral("overflowButton")));
    QCOMPARE(rootObject("overflowMenu"), menu);
    QTRY_VERIFY(menu->property("opened").toBool());
    click(findItem(menu, QStringLiteral("menu_%1").arg(MeatballsNavigationModel::NAV_SETTINGS)));
    QTRY_VERIFY(!menu->property("visible").toBool());
    QCOMPARE(root->property("page").toInt(), int(DashboardPage::Settings));
    QVERIFY(find("settingsPage")->property("visible").toBool());

    // The About box is made when it is first asked for.
    QVERIFY(!rootObject("aboutDialog"));
    QMetaObject::invokeMethod(menu, "chosen", Q_ARG(int, MeatballsNavigationModel::NAV_ABOUT));
    QObject *about = rootObject("aboutDialog");
    QVERIFY(about);
    QTRY_VERIFY(about->property("opened").toBool());
    QMetaObject::invokeMethod(about, "close");
    QTRY_VERIFY(!about->property("visible").toBool());

    QSignalSpy quit(m_host->engine(), &QQmlEngine::quit);
    QMetaObject::invokeMethod(menu, "chosen", Q_ARG(int, MeatballsNavigationModel::NAV_QUIT));
    QCOMPARE(quit.count(), 1);
}

void tst_Frontend::searchSortAndFavorite()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    QObject *recent = find("recentList");
    QObject *sortBox = find("sortBox");
    QVERIFY(recent && sortBox);

    // Sorted by name, then the other way round, through the sort box.
    int index = -1;
    QMetaObject::invokeMethod(sortBox, "indexOfValue", Q_RETURN_ARG(int, index),
                              Q_ARG(QVariant, int(DashboardGlobal::Z_TO_A)));
    sortBox->setProperty("currentIndex", index);
    QMetaObject::invokeMethod(sortBox, "activated", Q_ARG(int, index));
    QStringList shown = names(recent);
    QCOMPARE(shown.size(), 5);
    QStringList expected = shown;
    std::sort(expected.begin(), expected.end(), [](const QString &a, const QString &b) {
        return a.toLower() > b.toLower();
    });
    QCOMPARE(shown, expected);

    // Search as you type.
    QQuickItem *search = qobject_cast<QQuickItem *>(find("searchField"));
    search->forceActiveFocus();
    for (char key : { 'e', 'x', 'i', 't' })
        QTest::keyClick(m_host->window(), key);
    QTRY_COMPARE(names(recent), QStringList { QStringLiteral("Emergency Exit.kxld") });
    // Each list keeps its own search. Showing another list puts its text in the field, which
    // starts no search: neither list is searched again.
    QObject *searchTimer = find("searchTimer");
    QVERIFY(searchTimer);
    QTRY_VERIFY(!searchTimer->property("running").toBool());
    click(findItem(m_host->rootItem(), QStringLiteral("tab_1")));
    QCOMPARE(search->property("text").toString(), QString());
    QVERIFY(!searchTimer->property("running").toBool());
    click(findItem(m_host->rootItem(), QStringLiteral("tab_0")));
    QCOMPARE(search->property("text").toString(), QStringLiteral("exit"));
    QVERIFY(!searchTimer->property("running").toBool());
    QCOMPARE(names(recent), QStringList { QStringLiteral("Emergency Exit.kxld") });
    search->forceActiveFocus();
    QTest::keyClick(m_host->window(), Qt::Key_Escape);
    QTRY_COMPARE(names(recent).size(), 5);

    // The star of a tile toggles the favourite; the favourites list follows.
    QCOMPARE(find("favoriteList")->property("count").toInt(), 1);
    QQuickItem *grid = qobject_cast<QQuickItem *>(find("fileGrid"));
    // The tiles of rows that came back are made when the view next lays itself out.
    const auto findStar = [&]() -> QQuickItem * {
        for (QQuickItem *candidate : findItems(recent, QStringLiteral("favoriteButton"))) {
            QObject *tile = candidate->parentItem()->parentItem();
            if (candidate->isVisible()
                && recordName(tile->property("entry")) == QLatin1String("Solvent Cabinet.kxcl"))
                return candidate;
        }
        return nullptr;
    };
    QVERIFY(grid);
    QTRY_VERIFY(findStar());
    QQuickItem *star = findStar();
    click(star);
    QTRY_COMPARE(find("favoriteList")->property("count").toInt(), 2);
    QVERIFY(names(find("favoriteList")).contains(QStringLiteral("Solvent Cabinet.kxcl")));
}

void tst_Frontend::myLabelsFollowsTheFolder()
{
    const QString folder = m_dir->filePath(QStringLiteral("labels"));
    QVERIFY(startHost(folder));
    showPage(QStringLiteral("mylabels"));
    QObject *labels = find("labelList");
    QTRY_COMPARE(names(labels).size(), 2 + 9);
    const QStringList before = names(labels);
    const auto path = [&](const char *name) { return folder + u'/' + QLatin1String(name); };

    // Copied in from elsewhere, as a file manager does.
    QVERIFY(QFile::copy(path("Emergency Exit.kxld"), path("Copied Exit.kxld")));
    QTRY_VERIFY(names(labels).contains(QStringLiteral("Copied Exit.kxld")));
    QCOMPARE(names(labels).size(), before.size() + 1);
    // Renamed.
    QVERIFY(QFile::rename(path("Copied Exit.kxld"), path("Renamed Exit.kxld")));
    QTRY_VERIFY(names(labels).contains(QStringLiteral("Renamed Exit.kxld")));
    QVERIFY(!names(labels).contains(QStringLiteral("Copied Exit.kxld")));
    // Deleted: the list is as it was.
    QVERIFY(QFile::remove(path("Renamed Exit.kxld")));
    QTRY_COMPARE(names(labels), before);

    // A burst of new labels is listed whole.
    for (int i = 0; i < 200; ++i) {
        QFile label(folder + QStringLiteral("/Burst %1.kxld").arg(i, 3, 10, QLatin1Char('0')));
        QVERIFY(label.open(QIODevice::WriteOnly));
    }
    QTRY_COMPARE(names(labels).size(), before.size() + 200);
}

void tst_Frontend::recentlyViewedFollowsTheModules()
{
    const QString folder = m_dir->filePath(QStringLiteral("labels"));
    QVERIFY(startHost(folder));
    QObject *recents = find("recentList");
    QTRY_VERIFY(!names(recents).isEmpty());
    QVERIFY(!names(recents).contains(QStringLiteral("Viewed Now.kxld")));

    // Label Designer opens a label and writes it into its view history, as the modules do.
    const QString label = folder + QStringLiteral("/Viewed Now.kxld");
    {
        QFile file(label);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QSettings store(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Quorvane Inc"),
                    QStringLiteral("QVLabelEditor"));
    FileControllerTools::recordFileView(&store, QStringLiteral("fileHistory"), label,
                                        QDateTime::currentDateTime(), 20);
    store.sync();
    QCOMPARE(store.status(), QSettings::NoError);

    // Home shows it with no restart (in the list's order: by name, unless the user sorts).
    QTRY_VERIFY(names(recents).contains(QStringLiteral("Viewed Now.kxld")));
}

void tst_Frontend::enterAndLeaveFolders()
{
    const QString folder = m_dir->filePath(QStringLiteral("labels"));
    QVERIFY(startHost(folder));
    showPage(QStringLiteral("mylabels"));
    QObject *labels = find("labelList");
    QObject *home = find("homePage");
    // Folders first, in the order the controller puts them, then the files of the folder.
    QStringList shown = names(labels);
    QCOMPARE(shown.mid(0, 2), (QStringList { QStringLiteral("Line 2"), QStringLiteral("Archive") }));
    QCOMPARE(shown.size(), 2 + 9);

    QMetaObject::invokeMethod(home, "enterFolder", Q_ARG(QVariant, QStringLiteral("Line 2")));
    QCOMPARE(home->property("currentFolder").toString(), folder + QStringLiteral("/Line 2"));
    QTRY_COMPARE(names(labels).size(), 2);
    QVERIFY(findItem(home, QStringLiteral("crumb_1")));

    click(findItem(home, QStringLiteral("upButton")));
    QCOMPARE(home->property("currentFolder").toString(), folder);
    QTRY_COMPARE(names(labels).size(), 11);

    // The folder opens in the file browser.
    click(findItem(home, QStringLiteral("openFolderButton")));
    QCOMPARE(m_urls.urls, QList<QUrl> { QUrl::fromLocalFile(folder) });
}

void tst_Frontend::sideBarStaysUnderThePointer_data()
{
    QTest::addColumn<bool>("fromTheEnd");
    QTest::newRow("scrolled to its start") << false;
    QTest::newRow("scrolled to its end") << true;
}

void tst_Frontend::sideBarStaysUnderThePointer()
{
    QFETCH(bool, fromTheEnd);
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    // A small laptop screen: the side bar is taller than the window and scrolls.
    m_host->window()->resize(1280, 720);
    QQuickItem *root = m_host->rootItem();
    QTRY_COMPARE(root->height(), 720.0);
    QQuickItem *bar = findItem(root, QStringLiteral("navigationBar"));
    QVERIFY(bar);
    QQuickItem *flick = findItem(bar, QStringLiteral("navigationEntries"));
    QVERIFY(flick);
    const qreal end = flick->property("contentHeight").toReal() - flick->height();
    QVERIFY2(end > 50, "the side bar does not scroll at this size");

    // Every entry, clicked where it shows, leaves the bar where it was: a second click at the
    // same place reaches the same entry.
    QStringList entries;
    for (QQuickItem *item : findItems(bar, QRegularExpression(QStringLiteral("^nav_"))))
        entries << item->objectName();
    QVERIFY(entries.size() >= 12);
    for (const QString &name : std::as_const(entries)) {
        showPage(QStringLiteral("home"));
        flick->setProperty("contentY", fromTheEnd ? end : 0.0);
        QQuickItem *entry = findItem(bar, name);
        const QPointF centre = entry->mapToItem(flick, QPointF(entry->width() / 2, entry->height() / 2));
        if (centre.y() < 0 || centre.y() > flick->height())
            continue; // out of view from here
        const qreal before = flick->property("contentY").toReal();
        click(entry);
        QCoreApplication::processEvents();
        QVERIFY(QQuickTest::qWaitForPolish(m_host->window()));
        const qreal after = flick->property("contentY").toReal();
        QVERIFY2(qAbs(after - before) < 0.5,
                 qPrintable(QStringLiteral("%1 moved the bar from %2 to %3").arg(name).arg(before).arg(after)));
    }

    // Reached with the keyboard, an entry out of view is scrolled into it, buttons and links.
    using G = DashboardGlobal;
    const struct {
        QString name;
        qreal scrolledTo;
    } outOfView[] = { { QStringLiteral("nav_%1_%2").arg(G::NAV_APP).arg(G::APP_PRINTERMAINTENANCE), 0 },
                      { QStringLiteral("nav_%1_-1").arg(G::NAV_URL_FEEDBACK), 0 },
                      { QStringLiteral("nav_%1_-1").arg(G::NAV_HOME), end } };
    for (const auto &entry : outOfView) {
        QQuickItem *item = findItem(bar, entry.name);
        QVERIFY2(item, qPrintable(entry.name));
        flick->setProperty("contentY", entry.scrolledTo);
        root->forceActiveFocus();
        item->forceActiveFocus(Qt::TabFocusReason);
        const QRectF shown = item->mapRectToItem(flick, QRectF(0, 0, item->width(), item->height()));
        QVERIFY2(shown.top() >= -0.5 && shown.bottom() <= flick->height() + 0.5,
                 qPrintable(QStringLiteral("%1 is at %2..%3 of %4")
                                    .arg(entry.name).arg(shown.top()).arg(shown.bottom()).arg(flick->height())));
    }
}

void tst_Frontend::addressNothingOpensIsSaid_data()
{
    QTest::addColumn<QString>("from");
    QTest::newRow("support link") << QStringLiteral("support");
    QTest::newRow("resources tile") << QStringLiteral("resources");
    QTest::newRow("open in file browser") << QStringLiteral("folder");
}

void tst_Frontend::addressNothingOpensIsSaid()
{
    QFETCH(QString, from);
    const QString folder = m_dir->filePath(QStringLiteral("labels"));
    QVERIFY(startHost(folder));
    QQuickItem *root = m_host->rootItem();
    QObject *notice = find("openFailureNotice");
    QVERIFY(notice);
    QVERIFY(!notice->property("shown").toBool());

    // With no handler of its own, the test platform opens nothing: as a desktop with no
    // browser or file manager. Qt says so too.
    m_expectedWarning = QRegularExpression(QStringLiteral("does not support QPlatformServices::open"));
    const QStringList schemes { QStringLiteral("https"), QStringLiteral("file") };
    for (const QString &scheme : schemes)
        QDesktopServices::unsetUrlHandler(scheme);
    const auto restore = qScopeGuard([&] {
        for (const QString &scheme : schemes)
            QDesktopServices::setUrlHandler(scheme, &m_urls, "open");
    });

    QString address;
    if (from == QLatin1String("support")) {
        address = m_host->services()->supportAddress();
        click(findItem(root, QStringLiteral("nav_%1_-1").arg(DashboardGlobal::NAV_URL_SUPPORT)));
    } else if (from == QLatin1String("resources")) {
        showPage(QStringLiteral("resources"));
        QObject *grid = find("resourceGrid");
        QVERIFY(grid);
        QQuickItem *tile = nullptr;
        QTRY_VERIFY(QMetaObject::invokeMethod(grid, "itemAtIndex", Q_RETURN_ARG(QQuickItem *, tile), Q_ARG(int, 0))
                    && tile);
        address = tile->property("modelData").value<ResourceItem>().resUrl;
        QVERIFY(!address.isEmpty());
        click(tile);
    } else {
        showPage(QStringLiteral("mylabels"));
        address = QDir::toNativeSeparators(folder); // the path, as the user knows it
        click(findItem(find("homePage"), QStringLiteral("openFolderButton")));
    }
    QTRY_VERIFY(notice->property("shown").toBool());
    const QString text = notice->property("text").toString();
    QVERIFY2(text.startsWith(address + QStringLiteral(" could not be opened")), qPrintable(text));
    QVERIFY(m_urls.urls.isEmpty());

    click(findItem(root, QStringLiteral("openFailureNoticeDismiss")));
    QTRY_VERIFY(!notice->property("shown").toBool());
}

void tst_Frontend::changeAndResetSettings()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    showPage(QStringLiteral("settings"));
    QObject *settings = rootObject("settings");
    QObject *page = find("settingsPage");

    // The sections by keyboard: two down from Units is Appearance.
    auto *sections = qobject_cast<QQuickItem *>(find("settingsSections"));
    sections->forceActiveFocus();
    QTest::keyClick(m_host->window(), Qt::Key_Down);
    QTest::keyClick(m_host->window(), Qt::Key_Down);
    QTest::keyClick(m_host->window(), Qt::Key_Return);
    QCOMPARE(page->property("section").toInt(), int(SettingsNavigationModel::NAV_APPEARANCE));
    click(findItem(page, QStringLiteral("darkTheme")));
    QCOMPARE(settings->property("settingAppearance").toBool(), false);

    page->setProperty("section", int(SettingsNavigationModel::NAV_UNITS));
    click(findItem(page, QStringLiteral("units_2")));
    QCOMPARE(page->property("units").toInt(), 2);
    {
        QSettings store(settingsFile(), QSettings::IniFormat);
        QCOMPARE(store.value(QStringLiteral("locale/units")).toInt(), 2);
        QCOMPARE(store.value(QStringLiteral("appearance")).toBool(), false);
    }

    // German at once: the navigation names come from the shipped translation.
    QMetaObject::invokeMethod(page, "setLanguage", Q_ARG(QVariant, 1));
    QCOMPARE(m_host->services()->languageCode(), QStringLiteral("de_DE"));
    QVariantList nav = find("navigationBar")->property("navItems").toList();
    QCOMPARE(nav.first().value<NavigationItem>().navName, QStringLiteral("Startseite"));

    // Reset through its dialog.
    page->setProperty("section", int(SettingsNavigationModel::NAV_RESET));
    click(findItem(page, QStringLiteral("resetButton")));
    QObject *dialog = page->property("resetDialog").value<QObject *>();
    QTRY_VERIFY(dialog->property("opened").toBool());
    click(findItem(dialog, QStringLiteral("resetConfirmButton")));
    QTRY_VERIFY(!dialog->property("visible").toBool());
    QCOMPARE(settings->property("settingAppearance").toBool(), true);
    QCOMPARE(page->property("units").toInt(), 0);
    QCOMPARE(m_host->services()->languageCode(), QStringLiteral("en_US"));
    nav = find("navigationBar")->property("navItems").toList();
    QCOMPARE(nav.first().value<NavigationItem>().navName, QStringLiteral("Home"));
}

// Texts on screen in one language, by where they are: the object, and the property showing it.
struct ShownText
{
    const char *page;
    const char *objectName;
    const char *property;
    const char *english;
    const char *german;
};

void tst_Frontend::germanAtOnce()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    QObject *settings = rootObject("settings");
    // Switching the language builds the lists again; the icon fonts are added once, at start.
    const int fonts = applicationFontCount();
    QVERIFY(fonts >= 2);
    const auto firstResource = [this] {
        const QVariantList items = rootObject("dashMain")->property("resourcesNavItems").toList();
        return items.isEmpty() ? QString() : items.first().value<ResourceItem>().resName;
    };
    const QString englishResource = firstResource();
    QVERIFY(!englishResource.isEmpty());
    // The settings page and the About box are made when first shown.
    showPage(QStringLiteral("settings"));
    QObject *page = find("settingsPage");
    QVERIFY(page);
    const ShownText texts[] = {
        { "settings", "languageBox", "displayText", "English", "Deutsch" },
        { "settings", "section_1", "text", "Language", "Sprache" },
        { "settings", "section_5", "text", "Reset Settings", "Einstellungen zurücksetzen" },
        { "settings", "overflowButton", "text", "More", "Mehr" },
        { "settings", "nav_0_-1", "text", "Home", "Startseite" },
        { "home", "tab_0", "text", "Recently viewed", "Zuletzt angesehen" },
        { "home", "searchField", "placeholderText", "Search labels", "Etiketten suchen" },
        { "home", "sortBox", "displayText", "Name A to Z", "Name A bis Z" },
        { "home", "premadeBannerButton", "text", "Browse signs", "Schilder durchsuchen" },
    };
    const auto expectShown = [&](bool german) {
        for (const ShownText &text : texts) {
            showPage(QLatin1String(text.page));
            page->setProperty("section", int(SettingsNavigationModel::NAV_LANGUAGE));
            QQuickItem *item = findItem(m_host->rootItem(), QLatin1String(text.objectName));
            QVERIFY2(item, text.objectName);
            QCOMPARE(item->property(text.property).toString(), QString::fromUtf8(german ? text.german : text.english));
        }
        showPage(QStringLiteral("about"));
        QObject *about = rootObject("aboutDialog");
        QVERIFY(about);
        QTRY_VERIFY(about->property("opened").toBool());
        QCOMPARE(about->property("title").toString(),
                 german ? QStringLiteral("Über Korvex PRO") : QStringLiteral("About Korvex PRO"));
        QCOMPARE(findItem(about, QStringLiteral("aboutCloseButton"))->property("text").toString(),
                 german ? QStringLiteral("Schließen") : QStringLiteral("Close"));
        QMetaObject::invokeMethod(about, "close");
        QTRY_VERIFY(!about->property("visible").toBool());
    };
    expectShown(false);
    if (QTest::currentTestFailed())
        return;

    // German from the language box, as a user picks it.
    const auto choose = [&](const QString &code) {
        showPage(QStringLiteral("settings"));
        page->setProperty("section", int(SettingsNavigationModel::NAV_LANGUAGE));
        QQuickItem *box = findItem(page, QStringLiteral("languageBox"));
        QVERIFY(box);
        QObject *contents = rootObject("settingsPage")->property("contents").value<QObject *>();
        int index = -1;
        for (int i = 0; i < box->property("count").toInt(); ++i) {
            QString candidate;
            QMetaObject::invokeMethod(contents, "getLanguageCode", Q_RETURN_ARG(QString, candidate), Q_ARG(int, i));
            if (candidate == code)
                index = i;
        }
        QVERIFY2(index >= 0, qPrintable(code));
        box->setProperty("currentIndex", index);
        QMetaObject::invokeMethod(box, "activated", Q_ARG(int, index));
        QVariant stored;
        QMetaObject::invokeMethod(settings, "getSetting", Q_RETURN_ARG(QVariant, stored),
                                  Q_ARG(QString, settings->property("KEY_LANGUAGE").toString()), Q_ARG(QVariant, QString()));
        QCOMPARE(stored.toString(), code);
        QCOMPARE(m_host->services()->languageCode(), code);
    };
    choose(QStringLiteral("de_DE"));
    expectShown(true);
    if (QTest::currentTestFailed())
        return;
    QVERIFY(firstResource() != englishResource);
    QCOMPARE(applicationFontCount(), fonts);
    // The long German names are shown whole: the side bar widens for them, a settings section
    // takes two lines.
    using G = DashboardGlobal;
    showPage(QStringLiteral("settings"));
    const QString longNames[] = { QStringLiteral("nav_%1_%2").arg(G::NAV_APP).arg(G::APP_PIPEMARKING),
                                  QStringLiteral("nav_%1_%2").arg(G::NAV_APP).arg(G::APP_LABELDESIGNER),
                                  QStringLiteral("section_%1").arg(SettingsNavigationModel::NAV_RESET) };
    for (const QString &name : longNames) {
        QQuickItem *button = findItem(m_host->rootItem(), name);
        QVERIFY2(button, qPrintable(name));
        QVERIFY(QQuickTest::qWaitForPolish(m_host->window()));
        const auto labels = button->property("contentItem").value<QQuickItem *>()->childItems();
        const auto label = std::find_if(labels.begin(), labels.end(), [button](QQuickItem *child) {
            return child->property("text") == button->property("text");
        });
        QVERIFY2(label != labels.end(), qPrintable(name));
        QVERIFY2(!(*label)->property("truncated").toBool(), qPrintable(button->property("text").toString()));
    }
    {
        QSettings store(settingsFile(), QSettings::IniFormat);
        QCOMPARE(store.value(QStringLiteral("locale/language")).toString(), QStringLiteral("de_DE"));
    }
    choose(QStringLiteral("en_US"));
    if (QTest::currentTestFailed())
        return;
    expectShown(false);
    QCOMPARE(firstResource(), englishResource);
    QCOMPARE(applicationFontCount(), fonts);
}

QQuickItem *tst_Frontend::showLanguageBox()
{
    if (!startHost(m_dir->filePath(QStringLiteral("labels"))))
        return nullptr;
    showPage(QStringLiteral("settings"));
    QObject *page = find("settingsPage");
    if (!page)
        return nullptr;
    page->setProperty("section", int(SettingsNavigationModel::NAV_LANGUAGE));
    return findItem(page, QStringLiteral("languageBox"));
}

void tst_Frontend::languagesAreNamedInThemselves()
{
    QQuickItem *box = showLanguageBox();
    QVERIFY(box);
    QObject *page = find("settingsPage");
    const auto shown = [&] { return box->property("model").toStringList(); };
    const QStringList english = shown();
    QCOMPARE(english.size(), 12);
    for (const char *name : { "English", "Deutsch", "Français", "Español", "Português (Brasil)", "日本語", "简体中文", "한국어" })
        QVERIFY2(english.contains(QString::fromUtf8(name)), name);
    // In whatever language the window is, the list reads the same.
    m_host->services()->applyLanguage(QStringLiteral("de_DE"));
    QTRY_COMPARE(page->property("languageNames").toStringList().at(0), QStringLiteral("Englisch"));
    QCOMPARE(shown(), english);
    m_host->services()->applyLanguage(QStringLiteral("en_US"));

    // A language without a name of its own here is named as its locale names it; what is no
    // language at all keeps its code.
    HostServices *services = m_host->services();
    QCOMPARE(services->languageName(QStringLiteral("fi_FI")), QStringLiteral("Suomi"));
    QCOMPARE(services->languageName(QStringLiteral("not a code")), QStringLiteral("not a code"));
    QCOMPARE(services->languageName(QString()), QString());
}

// Each name is written in its own script, so the machine needs fonts beyond Latin ones: the
// package recommends a CJK font, and scripts/install-deps installs it. A missing glyph is
// glyph 0, drawn as an empty box.
void tst_Frontend::languageNamesHaveGlyphs()
{
    QQuickItem *box = showLanguageBox();
    QVERIFY(box);
    const QFont font = box->property("font").value<QFont>();
    const QStringList names = box->property("model").toStringList();
    QCOMPARE(names.size(), 12);
    for (const QString &name : names) {
        QTextLayout layout(name, font);
        layout.beginLayout();
        layout.createLine();
        layout.endLayout();
        int glyphs = 0;
        for (const QGlyphRun &run : layout.glyphRuns()) {
            const QList<quint32> indexes = run.glyphIndexes();
            glyphs += indexes.size();
            QVERIFY2(!indexes.contains(0u),
                     qPrintable(QStringLiteral("no font here draws \"%1\" (%2): install a CJK font, "
                                               "for example fonts-noto-cjk or fonts-wqy-microhei")
                                        .arg(name, run.rawFont().familyName())));
        }
        QCOMPARE(glyphs, name.size());
    }
}

void tst_Frontend::settingsSectionByMouse_data()
{
    QTest::addColumn<int>("section");
    QTest::addColumn<QString>("pane");
    using S = SettingsNavigationModel;
    QTest::newRow("language") << int(S::NAV_LANGUAGE) << QStringLiteral("languagePane");
    QTest::newRow("appearance") << int(S::NAV_APPEARANCE) << QStringLiteral("appearancePane");
    QTest::newRow("privacy") << int(S::NAV_PRIVACY) << QStringLiteral("privacyPane");
    QTest::newRow("cloud") << int(S::NAV_CLOUD) << QStringLiteral("cloudPane");
    QTest::newRow("reset") << int(S::NAV_RESET) << QStringLiteral("resetPane");
}

void tst_Frontend::settingsSectionByMouse()
{
    QFETCH(int, section);
    QFETCH(QString, pane);
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    showPage(QStringLiteral("settings"));
    QObject *page = find("settingsPage");
    QCOMPARE(page->property("section").toInt(), int(SettingsNavigationModel::NAV_UNITS));
    QVERIFY(findItem(page, QStringLiteral("unitsPane")));
    QVERIFY(findItems(page, pane).isEmpty());

    // A press and release at the centre of the section's row, right after the page opened.
    click(findItem(page, QStringLiteral("section_%1").arg(section)));
    QCOMPARE(page->property("section").toInt(), section);
    QCOMPARE(find("settingsSections")->property("currentIndex").toInt(), section);
    QVERIFY(findItem(page, pane));
    QVERIFY(findItems(page, QStringLiteral("unitsPane")).isEmpty());
}

void tst_Frontend::aboutShowsTheLicence()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    showPage(QStringLiteral("about"));
    QObject *about = rootObject("aboutDialog");
    QVERIFY(about);
    QTRY_VERIFY(about->property("opened").toBool());
    QFile english(QCoreApplication::applicationDirPath() + QStringLiteral("/eulas/license-Korvex PRO_EN.txt"));
    QVERIFY(english.open(QIODevice::ReadOnly | QIODevice::Text));
    QObject *text = about->property("licenseArea").value<QObject *>();
    QCOMPARE(text->property("text").toString(), QString::fromUtf8(english.readAll()));
    QVERIFY(about->findChild<QObject *>(QStringLiteral("installedVersion")));
    // No version manifest beside the test: the available version is not known, and the box
    // does not claim the user is up to date.
    QCOMPARE(about->findChild<QObject *>(QStringLiteral("availableVersion"))->property("text").toString(),
             QStringLiteral("Available version: unknown"));
    click(findItem(about, QStringLiteral("aboutCloseButton")));
    QTRY_VERIFY(!about->property("visible").toBool());
}

// The About box is drawn in the colours of the pages, light and dark.
void tst_Frontend::aboutFollowsTheTheme()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    QObject *settings = rootObject("settings");
    // A surface of the pages: the frame of the settings sections (the page is made when first
    // shown).
    showPage(QStringLiteral("settings"));
    QObject *surface = find("settingsSections")->parent();
    const auto colour = [](QObject *item, const char *property) {
        return item->property(property).value<QObject *>()->property("color").value<QColor>();
    };
    QColor light;
    for (bool dark : { false, true }) {
        QMetaObject::invokeMethod(settings, "setSetting", Q_ARG(QString, settings->property("KEY_APPEARANCE").toString()),
                                  Q_ARG(QVariant, !dark));
        QTRY_COMPARE(settings->property("settingAppearance").toBool(), !dark);
        showPage(QStringLiteral("about"));
        QObject *about = rootObject("aboutDialog");
        QVERIFY(about);
        QTRY_VERIFY(about->property("opened").toBool());
        const QColor background = colour(about, "background");
        QCOMPARE(background, surface->property("color").value<QColor>());
        // The title is in the text colour of the pages' titles.
        QCOMPARE(about->property("header").value<QObject *>()->property("color").value<QColor>(),
                 qobject_cast<QQuickItem *>(find("unitsPane"))->childItems().constFirst()->property("color").value<QColor>());
        if (dark)
            QVERIFY(background != light);
        else
            light = background;
        QMetaObject::invokeMethod(about, "close");
        QTRY_VERIFY(!about->property("visible").toBool());
    }
}

void tst_Frontend::emptyLabelFolder()
{
    const QString folder = m_dir->filePath(QStringLiteral("empty"));
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(startHost(folder, false));
    showPage(QStringLiteral("mylabels"));
    QObject *labels = find("labelList");
    QCOMPARE(labels->property("count").toInt(), 0);
    QQuickItem *empty = findItem(labels, QStringLiteral("emptyState"));
    QVERIFY(empty);
    QCOMPARE(empty->property("title").toString(), QStringLiteral("This folder has no labels yet"));
    QCOMPARE(empty->property("error").toBool(), false);
    QVERIFY(findItem(find("recentList"), QStringLiteral("emptyState")) == nullptr); // hidden tab
    showPage(QStringLiteral("home"));
    QCOMPARE(findItem(find("recentList"), QStringLiteral("emptyState"))->property("title").toString(),
             QStringLiteral("No recently viewed labels"));
}

void tst_Frontend::missingLabelFolder()
{
    const QString folder = m_dir->filePath(QStringLiteral("gone"));
    QVERIFY(startHost(folder, false));
    QVERIFY(!QFileInfo::exists(folder));
    showPage(QStringLiteral("mylabels"));
    QQuickItem *empty = findItem(find("labelList"), QStringLiteral("emptyState"));
    QVERIFY(empty);
    QVERIFY(empty->property("error").toBool());
    QCOMPARE(empty->property("title").toString(), QStringLiteral("The label folder cannot be found"));
    QVERIFY(empty->property("message").toString().contains(folder));

    // As the message says, its labels are listed once the folder is back, with no restart.
    QVERIFY(QDir().mkpath(folder));
    QFile label(folder + QStringLiteral("/Back Again.kxld"));
    QVERIFY(label.open(QIODevice::WriteOnly));
    label.close();
    QObject *labels = find("labelList");
    QTRY_COMPARE(names(labels), QStringList { QStringLiteral("Back Again.kxld") });
    const QList<QQuickItem *> states = findItems(labels, QStringLiteral("emptyState"));
    QVERIFY(std::none_of(states.cbegin(), states.cend(), [](QQuickItem *state) { return state->isVisible(); }));

    // The rest keeps working.
    click(findItem(m_host->rootItem(), QStringLiteral("nav_%1_-1").arg(DashboardGlobal::NAV_RESOURCES)));
    QCOMPARE(m_host->rootItem()->property("page").toInt(), int(DashboardPage::Resources));
}

void tst_Frontend::manyFilesStayResponsive()
{
    const QString folder = m_dir->filePath(QStringLiteral("many"));
    QVERIFY(QDir().mkpath(folder));
    const int count = 20000;
    for (int i = 0; i < count; ++i) {
        QFile file(folder + QStringLiteral("/label %1.kxld").arg(i, 5, 10, QLatin1Char('0')));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QVERIFY(startHost(folder, false));
    showPage(QStringLiteral("mylabels"));
    QObject *labels = find("labelList");
    QCOMPARE(labels->property("count").toInt(), count);

    // A reload shows the busy indicator until the list is filled again.
    QMetaObject::invokeMethod(labels, "reload", Q_ARG(QVariant, QVariant()));
    QQuickItem *busy = findItem(labels, QStringLiteral("listBusyIndicator"));
    QVERIFY(busy);
    QVERIFY(busy->property("running").toBool());
    QTRY_VERIFY(!labels->property("busy").toBool());
    QCOMPARE(labels->property("count").toInt(), count);

    // Only the tiles on screen exist, at the top and at the end of the list.
    QQuickItem *grid = qobject_cast<QQuickItem *>(labels->findChild<QObject *>(QStringLiteral("fileGrid")));
    const auto delegates = [grid] {
        int n = 0;
        for (QQuickItem *child : grid->property("contentItem").value<QQuickItem *>()->childItems())
            n += child->isVisible() ? 1 : 0;
        return n;
    };
    QVERIFY2(delegates() < 200, qPrintable(QString::number(delegates())));
    QMetaObject::invokeMethod(grid, "positionViewAtEnd");
    QTRY_VERIFY(delegates() > 0);
    QVERIFY2(delegates() < 200, qPrintable(QString::number(delegates())));
}

void tst_Frontend::missingModuleExecutable()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    QObject *modules = rootObject("moduleHost");
    using G = DashboardGlobal;
    QQuickItem *button = findItem(m_host->rootItem(), QStringLiteral("nav_%1_%2").arg(G::NAV_APP).arg(G::APP_SYMBOLCREATOR));
    click(button);
    QVERIFY(modules->property("loading").toMap().isEmpty());
    QVERIFY(!findItem(button, QStringLiteral("navBusyIndicator")));
    QQuickItem *notice = findItem(m_host->rootItem(), QStringLiteral("moduleNotice"));
    QVERIFY(notice);
    QVERIFY(notice->property("shown").toBool());
    QTRY_VERIFY(notice->height() > 0);
    QVERIFY(notice->property("error").toBool());
    QVERIFY(notice->property("text").toString().contains(QStringLiteral("SymbolCreatorAppMain.exe is not installed")));
    // Dismissed, and the dashboard goes on.
    click(findItem(notice, QStringLiteral("moduleNoticeDismiss")));
    QTRY_VERIFY(!notice->property("shown").toBool());
    QTRY_COMPARE(notice->height(), 0.0);
}

void tst_Frontend::moduleThatNeverShowsItsWindow()
{
    // A program under the module's name that ends without ever announcing a window.
    const QString program = QCoreApplication::applicationDirPath() + QStringLiteral("/NFPAMain.exe");
    {
        QFile file(program);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\nexit 0\n");
    }
    QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    QObject *modules = rootObject("moduleHost");
    using G = DashboardGlobal;
    QQuickItem *button = findItem(m_host->rootItem(), QStringLiteral("nav_%1_%2").arg(G::NAV_APP).arg(G::APP_NFPA));
    click(button);
    QVERIFY(modules->property("loading").toMap().contains(QString::number(G::APP_NFPA)));
    QVERIFY(findItem(button, QStringLiteral("navBusyIndicator")));
    // The start timeout is 1.5 s in this test.
    QTRY_VERIFY_WITH_TIMEOUT(modules->property("loading").toMap().isEmpty(), 10000);
    QVERIFY(!findItem(button, QStringLiteral("navBusyIndicator")));
    QVERIFY(modules->property("message").toString().startsWith(QStringLiteral("NFPA did not start")));
    QFile::remove(program);
}

void tst_Frontend::firmwareNoticeNamesThePrinter()
{
    // Two of the suite's printers behind their firmware, one up to date, and another maker's.
    const QString printers = m_dir->filePath(QStringLiteral("printers.json"));
    const QString manifest = m_dir->filePath(QStringLiteral("firmware.json"));
    const auto write = [](const QString &path, const QByteArray &bytes) {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    };
    QVERIFY(write(printers, R"({ "printers": [
        { "name": "Ondrel X100 on line 1", "driver": "Ondrel X100 Series", "firmwareVersion": "1.4.2-118", "type": 3, "default": true },
        { "name": "Generic office printer", "driver": "Generic PCL Driver", "type": 0 },
        { "name": "Ondrel X100 up to date", "driver": "Ondrel X100 Series", "firmwareVersion": "1.4.3-120", "type": 3 },
        { "name": "Ondrel X100 in store", "driver": "Ondrel X100 Series", "firmwareVersion": "1.0.0-1", "type": 3 } ] })"));
    QVERIFY(write(manifest, R"({ "printerTypes": [ { "type": 3, "latestVersion": "1.4.3-120" } ] })"));
    PrinterDirectory *directory = PrinterDirectory::instance();
    directory->setFirmwareManifestFile(manifest);
    directory->setSimulatedPrintersFile(printers);
    const auto restore = qScopeGuard([directory] {
        directory->setSimulatedPrintersFile(QString());
        directory->setFirmwareManifestFile(QString());
    });
    // Printer maintenance, as a program that writes down what it was given.
    const QString given = m_dir->filePath(QStringLiteral("arguments.txt"));
    const QString program = QCoreApplication::applicationDirPath() + QStringLiteral("/PrinterMaintenance.exe");
    QVERIFY(write(program, "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + given.toUtf8() + "'\n"));
    QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const auto removeProgram = qScopeGuard([program] { QFile::remove(program); });

    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    QObject *notice = find("firmwareNotice");
    QVERIFY(notice);
    QTRY_VERIFY(notice->property("shown").toBool());
    QCOMPARE(notice->property("text").toString(),
             QStringLiteral("New firmware is available for Ondrel X100 on line 1, Ondrel X100 in store."));

    // Its action starts printer maintenance for the first of them, as modules get a printer.
    click(findItem(m_host->rootItem(), QStringLiteral("firmwareNoticeAction")));
    QStringList arguments;
    QTRY_VERIFY(QFile::exists(given));
    QTRY_VERIFY([&] {
        QFile file(given);
        arguments = file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts)
                                                   : QStringList();
        return arguments.size() >= 3;
    }());
    QCOMPARE(arguments.at(0), QStringLiteral("--dashboard"));
    QCOMPARE(arguments.at(2), QStringLiteral("--p Ondrel X100 on line 1,1"));
    // It ends without a window: said as a start that failed, nothing worse.
    QTRY_VERIFY_WITH_TIMEOUT(rootObject("moduleHost")->property("message").toString().contains(QStringLiteral("did not start")),
                             10000);
}

void tst_Frontend::missingLicenceFile()
{
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    showPage(QStringLiteral("settings"));
    // French has no licence file beside the program.
    QMetaObject::invokeMethod(find("settingsPage"), "setLanguage", Q_ARG(QVariant, 2));
    QCOMPARE(m_host->services()->languageCode(), QStringLiteral("fr_FR"));
    showPage(QStringLiteral("about"));
    QObject *about = rootObject("aboutDialog");
    QVERIFY(about);
    QTRY_VERIFY(about->property("opened").toBool());
    QObject *text = about->property("licenseArea").value<QObject *>();
    QVERIFY(text->property("text").toString().startsWith(QStringLiteral("Error: Unable to load license file ")));
    QVERIFY(text->property("text").toString().endsWith(QStringLiteral("license-Korvex PRO_FR.txt")));
}

void tst_Frontend::malformedSettingsFile_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::newRow("binary noise") << QByteArray("\x00\xff\xfe[[[\n=\n\x01\x02", 12);
    QTest::newRow("wrong types") << QByteArray("[General]\nappearance=@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x3garbage)\n"
                                               "sendAnalytics=(1, 2)\n[locale]\nunits=many\nlanguage=xx_XX\n");
    QTest::newRow("truncated section") << QByteArray("[locale\nunits=3\n[General]\nappearance");
}

void tst_Frontend::malformedSettingsFile()
{
    QFETCH(QByteArray, contents);
    m_expectedWarning = QRegularExpression(QStringLiteral("^default: QVariant::load: unknown user type"));
    QDir().mkpath(QFileInfo(settingsFile()).absolutePath());
    {
        QFile file(settingsFile());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(contents);
    }
    QVERIFY(startHost(m_dir->filePath(QStringLiteral("labels"))));
    showPage(QStringLiteral("settings"));
    QObject *page = find("settingsPage");
    QVERIFY(page->property("units").toInt() >= 0);
    // Settings can still be changed and reset.
    page->setProperty("section", int(SettingsNavigationModel::NAV_UNITS));
    click(findItem(page, QStringLiteral("units_1")));
    QCOMPARE(page->property("units").toInt(), 1);
    QMetaObject::invokeMethod(page, "reset");
    QCOMPARE(page->property("units").toInt(), 0);
    QCOMPARE(rootObject("settings")->property("settingAppearance").toBool(), true);
}

QTEST_MAIN(tst_Frontend)
#include "tst_frontend.moc"
