// The front end reaches every class through its meta-object only. Each class has a table of
// what it must show there: properties (type, change signal, writable or not), signals
// (parameter types and names), slots and invokable methods (signature, return type, access).
// A class's own section of the meta-object holds exactly its table, public members are
// callable by name, and enumeration parameters take the plain numbers QML passes.

#include "meta_interface.h"

#include "Controllers/dashboard_common_file_controller.h"
#include "Controllers/dashboard_file_info_struct.h"
#include "Controllers/dashboard_get_license_helper.h"
#include "Controllers/dashboard_settings_controller.h"
#include "Controllers/dashboard_upgrader_helper.h"
#include "Controllers/favorites_controller.h"
#include "Controllers/launcher_controller.h"
#include "Controllers/my_labels_controller.h"
#include "Controllers/qvipchelper_win32.h"
#include "Controllers/recently_viewed_controller.h"
#include "dashboard_app_window.h"
#include "dashboard_global.h"
#include "dashboard_main_window.h"
#include "models/dashboard_main.h"
#include "models/meatballs_navigation_model.h"
#include "models/settings_contents_models.h"
#include "models/settings_navigation_model.h"

#include "analytics/analytics_library.h"
#include "printing/printer_status_controller.h"

#include <QDesktopServices>
#include <QJSEngine>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include "url_recorder.h"

using namespace Interface;

namespace {

const char *const APP_TYPE = "DashboardGlobal::ApplicationType";

QList<MetaMember> dashboardGlobalInterface()
{
    return { enumeration("NavigationType"), enumeration("LabelLocation"), enumeration("ApplicationType"),
             enumeration("SortByType"),     enumeration("ErrorOnPage"),   enumeration("FileType"),
             enumeration("ZoomLevel") };
}

QList<MetaMember> navigationItemInterface()
{
    return { field("navIcon", "QString"),        field("navName", "QString"),
             field("execName", "QString"),       field("navType", "int"),
             field("navAppType", "int"),         field("navGenericName", "QString"),
             field("navPackageName", "QString"), field("navComment", "QString"),
             field("tryExec", "QString"),        field("terminal", "bool"),
             field("categories", "QString"),     field("menuOrder", "int"),
             field("nameUS", "QString"),         field("selected", "bool"),
             field("loading", "bool") };
}

QList<MetaMember> resourceItemInterface()
{
    return { field("resImage", "QString"), field("resName", "QString"), field("resSubtitle", "QString"),
             field("resUrl", "QString") };
}

QList<MetaMember> launcherInterface()
{
    return {
        signal("fileNotSupportedSignal(QString)", { "path" }),
        signal("applicationClosed(qint64)", { "processId" }),
        slot("launchLabelFile(QString)", "void", { "filePath" }),
        slot("launchApplication(DashboardGlobal::ApplicationType,QString)", "void", { "appType", "filePath" }, 1),
        slot("setDashboardWId(int)", "void", { "dashboardWId" }),
        slot("closeProcess(qint64)", "void", { "processId" }),
        slot("getApplicationExec(DashboardGlobal::ApplicationType)", "QString", { "appType" }),
        slot("getApplicationType(QString)", APP_TYPE, { "appExec" }),
        slot("getFileArgumentApplicationType(QString)", APP_TYPE, { "filePath" }),
        slot("updateActiveDefaultPrinter(QString,bool)", "void", { "activeDefaultPrinter", "isQV" }),
        privateSlot("launchLabelEditor(QString)", { "fileName" }, 1),
        privateSlot("launchPipeMarker(QString)", { "fileName" }, 1),
        privateSlot("launchChemicalLabeling()"),
        privateSlot("launchNFPA()"),
        privateSlot("launchArcFlash()"),
        privateSlot("launchSymbolCreator()"),
        privateSlot("launchPrinterMaintenance()"),
        privateSlot("launchPremadeSigns()"),
        privateSlot("startApplicationProcess(DashboardGlobal::ApplicationType,QStringList)",
                    { "appType", "arguments" }, 1),
        privateSlot("onProcessStateChanged(QProcess::ProcessState)", {}, 0, false),
        privateSlot("initApplicationTypes()"),
    };
}

QList<MetaMember> mainWindowInterface()
{
    return {
        property("windowId", "uint", "windowIdChanged(uint)"),
        property("dpiScale", "double", "dpiScaleChanged(double)"),
        property("windowState", "int", "windowStateChanged(int)"),
        property("isActive", "bool", "isActiveChanged(bool)"),
        property("isPrinterUpdateAvailable", "bool", "isPrinterUpdateAvailableChanged(bool)"),
        constantProperty("windowTitlebarHeight", "uint"),
        signal("windowIdChanged(uint)", { "windowId" }),
        signal("dpiScaleChanged(double)", { "dpiScale" }),
        signal("windowStateChanged(int)", { "windowState" }),
        signal("isActiveChanged(bool)", { "isActive" }),
        signal("isPrinterUpdateAvailableChanged(bool)", { "isPrinterUpdateAvailable" }),
        signal("applicationReady(int,int,QString)", { "appWId", "appProcessId", "appName" }),
        signal("applicationFocused(bool,uint)", { "hasFocus", "windowId" }),
        slot("launchApplication(DashboardGlobal::ApplicationType,QString)", "void", { "appType", "filePath" }, 1),
        slot("launchLabelFile(QString)", "void", { "filePath" }),
        slot("saveWindowGeometry()"),
        slot("restoreWindowGeometry()"),
        slot("setTestModeEnabled(bool)", "void", { "newTestModeEnabled" }),
        slot("getApplicationExec(DashboardGlobal::ApplicationType)", "QString", { "appType" }),
        slot("getApplicationType(QString)", APP_TYPE, { "appExec" }),
        slot("getFileArgumentApplicationType(QString)", APP_TYPE, { "filePath" }),
        slot("arePrintersUpToDate(int,bool)", "void", { "printerType", "isChecking" }),
        privateSlot("updateDPIScaling()"),
        privateSlot("updateWindowState(Qt::WindowState)", { "windowState" }),
        privateSlot("updateWindowGeometry()"),
        privateSlot("onScreenChanged(QScreen*)", { "screen" }),
        invokable("getPrinterStatusController()", "PrinterStatusController*"),
    };
}

QList<MetaMember> appWindowInterface()
{
    return {
        writableProperty("windowId", "qulonglong", "windowIdChanged()"),
        writableProperty("windowTitle", "QString", "windowTitleChanged()"),
        writableProperty("applicationPath", "QString", "applicationPathChanged()"),
        signal("windowIdChanged()"),
        signal("windowTitleChanged()"),
        signal("applicationPathChanged()"),
        signal("windowDestroyed()"),
        slot("hideApplication()"),
        slot("showApplication()"),
        slot("closeApplication()"),
        privateSlot("attachWindow()"),
        privateSlot("resize()"),
        privateSlot("checkWindowStatus()"),
    };
}

QList<MetaMember> messagingHelperInterface()
{
    return {
        signal("applicationReady(int,int,QString)", { "windowId", "processId", "applicationName" }),
        signal("applicationFocused(bool,uint)", { "hasFocus", "windowId" }),
        signal("applicationClicked()"),
        signal("modulePrinterChangeSignal(QString)", { "modulePrinterName" }),
        signal("openLabel(QString)", { "labelFile" }),
        slot("onModulePrinterChanged(QString)", "void", { "printerNameFromModule" }),
        slot("onStatusChanged(int,QString)", "void", { "status", "printerName" }),
        slot("onSupplyIdChanged(QString)", "void", { "printerName" }),
        slot("onRibbonIdsChanged(QString)", "void", { "printerName" }),
        slot("closeApplicationRequest()"),
    };
}

QList<MetaMember> fileInfoInterface()
{
    return { field("labelFileName", "QString"),   field("filePath", "QString"),
             field("isWritable", "bool"),         field("isFavorite", "bool"),
             field("type", "bool"),               field("id", "int"),
             field("cloudEnum", "int"),           field("accessDate", "QDateTime"),
             field("createdDate", "QDateTime"),   field("timeSinceCreated", "QString"),
             field("timeSinceModified", "QString"), field("selected", "bool") };
}

QList<MetaMember> commonFileControllerInterface()
{
    return {
        signal("recentlyViewedLabelsListFilled()"),
        signal("updateAllButtons()"),
        signal("launchLabelInModule(DashboardGlobal::ApplicationType,QString)", { "applicationType", "filePath" }),
        signal("listSorted()"),
        signal("favoriteChanged()"),
        slot("updateFileLists()"),
        slot("getSearchedLabelFilesList()", "QList<DashboardFileInfoStruct>"),
        slot("setSortType(DashboardGlobal::SortByType)", "void", { "sortSettings" }),
        slot("searchLabelFileList()"),
        slot("sortLabelFilesList()"),
        slot("getSortType()", "DashboardGlobal::SortByType"),
        slot("openLabel(int)", "void", { "labelIndex" }),
        slot("setFavorite(bool,int)", "bool", { "currentValue", "id" }),
        slot("removeFavorite(bool,QString,int)", "void", { "current", "filePath", "cloudService" }),
        slot("getSearchString()", "QString"),
        slot("setSearchString(QString)", "void", { "searchString" }),
        slot("consoleLog(QString)", "void", { "message" }),
    };
}

QList<MetaMember> myLabelsInterface()
{
    return {
        slot("updateFileLists()"),
        slot("searchLabelFileList()"),
        slot("enterFolder(QString)", "void", { "folder" }),
        slot("exitFolder(QString)", "QString", { "path" }),
        slot("prependFolders()"),
        slot("getCurrentFolder()", "QString"),
        slot("setRootFolder(QString)", "void", { "folder" }),
    };
}

QList<MetaMember> updateOnlyInterface()
{
    return { slot("updateFileLists()") };
}

QList<MetaMember> dashboardMainInterface()
{
    return {
        property("dashboardNavItems", "QVariantList", "dashboardNavItemsChanged()"),
        property("resourcesNavItems", "QVariantList", "resourceNavItemsChanged()"),
        signal("dashboardNavItemsChanged()"),
        signal("resourceNavItemsChanged()"),
        signal("toolsNavItemsChanged()"),
        signal("debugNavItemsChanged()"),
        invokable("sendContentOpenAnalyticHit(DashboardMain::DashboardBannerType)", "void", { "type" }),
        invokable("openFileExplorer()"),
        enumeration("DashboardNavEnum", false),
        enumeration("DashboardBannerType"),
    };
}

QList<MetaMember> settingsControllerInterface()
{
    return {
        constantProperty("KEY_APPEARANCE", "QString"),
        constantProperty("KEY_LANGUAGE", "QString"),
        constantProperty("KEY_UNITS", "QString"),
        constantProperty("KEY_PRIVACY_ANALYTICS", "QString"),
        constantProperty("KEY_HARDWARE", "QString"),
        property("settingAppearance", "bool", "settingAppearanceChanged(bool)"),
        property("settingLanguage", "QString", "settingLanguageChanged(QString)"),
        property("settingLanguageIndex", "uint", "settingLanguageIndexChanged(uint)"),
        property("settingUnits", "uint", "settingUnitsChanged(uint)"),
        property("settingPrivacyAnalytics", "bool", "settingPrivacyAnalyticsChanged(bool)"),
        property("settingHardware", "bool", "settingHardwareChanged(bool)"),
        signalTypesOnly("settingAppearanceChanged(bool)"),
        signalTypesOnly("settingLanguageChanged(QString)"),
        signalTypesOnly("settingLanguageIndexChanged(uint)"),
        signalTypesOnly("settingUnitsChanged(uint)"),
        signalTypesOnly("settingPrivacyAnalyticsChanged(bool)"),
        signalTypesOnly("settingHardwareChanged(bool)"),
        invokable("getSetting(QString,QVariant)", "QVariant", { "settingKey", "defaultValue" }),
        invokable("setSetting(QString,QVariant)", "void", { "settingKey", "settingValue" }),
        invokable("resetSettings()"),
        invokable("getLanguageEnglishName(int)", "QString", { "index" }),
        invokable("sendAnalyticHit(QString,QVariant)", "void", { "settingName", "newValue" }),
    };
}

QList<MetaMember> meatballsInterface()
{
    return {
        property("meatballsNavItemsList", "QVariantList", "meatballsNavItemsListChanged()"),
        signal("meatballsNavItemsListChanged()"),
        invokable("populateMeatballsNavItemsList()"),
        enumeration("MeatballsNavigationType", false),
    };
}

QList<MetaMember> meatballsItemInterface()
{
    return { field("navIcon", "QString"), field("navName", "QString"),
             field("navType", "MeatballsNavigationModel::MeatballsNavigationType") };
}

QList<MetaMember> settingsNavigationInterface()
{
    return {
        property("settingsNavItemsList", "QVariantList", "settingsNavItemsListChanged()"),
        signal("settingsNavItemsListChanged()"),
        invokable("populateSettingsNavItemsList()"),
        enumeration("SettingsNavigationType", false),
    };
}

QList<MetaMember> settingsNavigationItemInterface()
{
    return { field("navIcon", "QString"), field("navName", "QString"),
             field("navType", "SettingsNavigationModel::SettingsNavigationType") };
}

QList<MetaMember> settingsContentsInterface()
{
    return {
        // The language names, as the locale library gives them.
        property("languagesModelList", "QStringList", "languagesModelListChanged()"),
        signal("languagesModelListChanged()"),
        invokable("populateLanguagesModelList()"),
        invokable("getLanguagesModelList()", "QStringList"),
        invokable("getLanguageCode(int)", "QString", { "index" }),
    };
}

QList<MetaMember> upgraderInterface()
{
    return {
        property("isUpdateAvailable", "bool", "isUpdateAvailableChanged(bool)"),
        property("availableVersion", "QString", "availableVersionChanged(QString)"),
        signalTypesOnly("isUpdateAvailableChanged(bool)"),
        signalTypesOnly("availableVersionChanged(QString)"),
        invokable("getCurrentVersion()", "QString"),
        invokable("launchKxproUpgrader()"),
        slot("handleUpdateCheck()"),
    };
}

QList<MetaMember> licenseInterface()
{
    return {
        property("licenseText", "QString", "licenseTextChanged()"),
        signal("licenseTextChanged()"),
        invokable("loadLicense()"),
    };
}

// The rows of one class: one per member, then one that checks there is nothing else.
void addRows(const QList<MetaMember> &members)
{
    QTest::addColumn<MetaMember>("member");
    QTest::addColumn<QList<MetaMember>>("all");
    for (const MetaMember &m : members)
        QTest::newRow(m.name.constData()) << m << QList<MetaMember>();
    QTest::newRow("nothing else") << MetaMember() << members;
}

QMetaMethod::MethodType methodTypeOf(MetaMember::Kind kind)
{
    switch (kind) {
    case MetaMember::Signal:
        return QMetaMethod::Signal;
    case MetaMember::Slot:
        return QMetaMethod::Slot;
    default:
        return QMetaMethod::Method;
    }
}

void checkRow(const QMetaObject *meta)
{
    QFETCH(MetaMember, member);
    QFETCH(QList<MetaMember>, all);

    if (!all.isEmpty()) {
        const QSet<QByteArray> own = ownSection(meta);
        const QSet<QByteArray> expected = expectedSection(all);
        QStringList extra, missing;
        for (const QByteArray &name : own - expected)
            extra << QString::fromLatin1(name);
        for (const QByteArray &name : expected - own)
            missing << QString::fromLatin1(name);
        extra.sort();
        missing.sort();
        QVERIFY2(extra.isEmpty(), qUtf8Printable(QStringLiteral("not in the interface: ") + extra.join(u", ")));
        QVERIFY2(missing.isEmpty(), qUtf8Printable(QStringLiteral("missing: ") + missing.join(u", ")));
        return;
    }

    switch (member.kind) {
    case MetaMember::Enumeration: {
        const int index = meta->indexOfEnumerator(member.name.constData());
        QVERIFY2(index >= meta->enumeratorOffset(), member.name.constData());
        const QMetaEnum e = meta->enumerator(index);
        QVERIFY(!e.isFlag());
        QVERIFY(!e.isScoped());
        if (!member.registeredByName)
            return;
        // Used in signatures: QML and queued calls reach it by its qualified name.
        const QByteArray qualified = QByteArray(meta->className()) + "::" + member.name;
        QVERIFY2(QMetaType::fromName(qualified).isValid(), qualified.constData());
        QVERIFY(QMetaType::fromName(qualified).flags() & QMetaType::IsEnumeration);
        QCOMPARE(QMetaType::fromName(qualified).sizeOf(), qsizetype(sizeof(int)));
        return;
    }
    case MetaMember::Property: {
        const int index = meta->indexOfProperty(member.name.constData());
        QVERIFY2(index >= meta->propertyOffset(), member.name.constData());
        const QMetaProperty p = meta->property(index);
        QCOMPARE(QByteArray(p.typeName()), member.type);
        QVERIFY(p.isReadable());
        QCOMPARE(p.isWritable(), member.writable);
        QCOMPARE(p.isConstant(), member.constant);
        QCOMPARE(p.hasNotifySignal(), !member.notify.isEmpty());
        if (p.hasNotifySignal())
            QCOMPARE(p.notifySignal().methodSignature(), member.notify);
        return;
    }
    default:
        break;
    }

    const QList<QByteArray> signatures = member.signatures();
    for (int form = 0; form < signatures.size(); ++form) {
        const int index = meta->indexOfMethod(signatures.at(form).constData());
        QVERIFY2(index >= meta->methodOffset(), signatures.at(form).constData());
        const QMetaMethod m = meta->method(index);
        QCOMPARE(m.methodType(), methodTypeOf(member.kind));
        QCOMPARE(m.access(), member.access);
        QCOMPARE(QByteArray(m.typeName()), member.type);
        // The shorter forms are those a default argument makes, and only those.
        QCOMPARE(bool(m.attributes() & QMetaMethod::Cloned), form > 0);
        if (form == 0 && member.namesChecked)
            QCOMPARE(m.parameterNames(), member.parameterNames);
        for (int i = 0; i < m.parameterCount(); ++i)
            QVERIFY2(m.parameterMetaType(i).isValid(), m.parameterTypes().at(i).constData());
        QVERIFY2(m.returnMetaType().isValid() || member.type == "void", member.type.constData());
    }
}

// Calls a public method by name, passing each argument as the type the interface declares it
// with; an enumeration argument is handed over as the plain int QML passes.
bool invokeByName(QObject *object, const char *name, const QList<QByteArray> &types, QVariantList args,
                  QVariant *result = nullptr, const QByteArray &resultType = QByteArray())
{
    QGenericArgument a[4];
    for (int i = 0; i < args.size() && i < 4; ++i)
        a[i] = QGenericArgument(types.at(i).constData(), args[i].data());
    QVariant storage;
    QGenericReturnArgument ret;
    if (result) {
        storage = QVariant(QMetaType::fromName(resultType));
        ret = QGenericReturnArgument(resultType.constData(), storage.data());
    }
    const bool ok = QMetaObject::invokeMethod(object, name, Qt::DirectConnection, ret, a[0], a[1], a[2], a[3]);
    if (result)
        *result = storage;
    return ok;
}

// A QML engine that sees the object as `target`, without taking it over.
class Script
{
public:
    explicit Script(QObject *object)
    {
        QJSEngine::setObjectOwnership(object, QJSEngine::CppOwnership);
        m_engine.globalObject().setProperty(QStringLiteral("target"), m_engine.newQObject(object));
    }
    QJSValue run(const QString &code)
    {
        const QJSValue value = m_engine.evaluate(code);
        if (value.isError())
            qWarning("%s", qUtf8Printable(value.toString()));
        return value;
    }

private:
    QQmlEngine m_engine;
};

} // namespace


class tst_QmlInterface : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void dashboardGlobal_data() { addRows(dashboardGlobalInterface()); }
    void dashboardGlobal() { checkRow(&DashboardGlobal::staticMetaObject); }
    void navigationItem_data() { addRows(navigationItemInterface()); }
    void navigationItem() { checkRow(&NavigationItem::staticMetaObject); }
    void resourceItem_data() { addRows(resourceItemInterface()); }
    void resourceItem() { checkRow(&ResourceItem::staticMetaObject); }
    void launcherController_data() { addRows(launcherInterface()); }
    void launcherController() { checkRow(&LauncherController::staticMetaObject); }
    void dashboardMainWindow_data() { addRows(mainWindowInterface()); }
    void dashboardMainWindow() { checkRow(&DashboardMainWindow::staticMetaObject); }
    void dashboardAppWindow_data() { addRows(appWindowInterface()); }
    void dashboardAppWindow() { checkRow(&DashboardAppWindow::staticMetaObject); }
    void messagingHelper_data() { addRows(messagingHelperInterface()); }
    void messagingHelper() { checkRow(&QVIPCHelper_win32::staticMetaObject); }
    void fileInfoStruct_data() { addRows(fileInfoInterface()); }
    void fileInfoStruct() { checkRow(&DashboardFileInfoStruct::staticMetaObject); }
    void commonFileController_data() { addRows(commonFileControllerInterface()); }
    void commonFileController() { checkRow(&DashboardCommonFileController::staticMetaObject); }
    void myLabelsController_data() { addRows(myLabelsInterface()); }
    void myLabelsController() { checkRow(&MyLabelsController::staticMetaObject); }
    void recentlyViewedController_data() { addRows(updateOnlyInterface()); }
    void recentlyViewedController() { checkRow(&RecentlyViewedController::staticMetaObject); }
    void favoritesController_data() { addRows(updateOnlyInterface()); }
    void favoritesController() { checkRow(&FavoritesController::staticMetaObject); }
    void dashboardMain_data() { addRows(dashboardMainInterface()); }
    void dashboardMain() { checkRow(&DashboardMain::staticMetaObject); }
    void settingsController_data() { addRows(settingsControllerInterface()); }
    void settingsController() { checkRow(&DashboardSettingsController::staticMetaObject); }
    void meatballsNavigationModel_data() { addRows(meatballsInterface()); }
    void meatballsNavigationModel() { checkRow(&MeatballsNavigationModel::staticMetaObject); }
    void meatballsNavigationItem_data() { addRows(meatballsItemInterface()); }
    void meatballsNavigationItem() { checkRow(&MeatballsNavigationItem::staticMetaObject); }
    void settingsNavigationModel_data() { addRows(settingsNavigationInterface()); }
    void settingsNavigationModel() { checkRow(&SettingsNavigationModel::staticMetaObject); }
    void settingsNavigationItem_data() { addRows(settingsNavigationItemInterface()); }
    void settingsNavigationItem() { checkRow(&SettingsNavigationItem::staticMetaObject); }
    void settingsContentsModels_data() { addRows(settingsContentsInterface()); }
    void settingsContentsModels() { checkRow(&SettingsContentsModels::staticMetaObject); }
    void upgraderHelper_data() { addRows(upgraderInterface()); }
    void upgraderHelper() { checkRow(&DashboardUpgraderHelper::staticMetaObject); }
    void licenseHelper_data() { addRows(licenseInterface()); }
    void licenseHelper() { checkRow(&DashboardGetLicenseHelper::staticMetaObject); }

    void launcherCalledByName();
    void mainWindowCalledByName();
    void appWindowCalledByName();
    void messagingHelperCalledByName();
    void fileControllersCalledByName();
    void navigationCalledByName();
    void settingsCalledByName();
    void updateAndLicenceCalledByName();
    void enumArgumentsTakePlainNumbersFromQml();
    void enumResultsReachQmlAsSignedNumbers();
};

void tst_QmlInterface::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_QmlInterface::launcherCalledByName()
{
    LauncherController launcher;
    QVariant result;
    QVERIFY(invokeByName(&launcher, "getApplicationExec", { APP_TYPE }, { 5 }, &result, "QString"));
    QCOMPARE(result.toString(), QStringLiteral("PipeMarkingMain.exe"));
    QVERIFY(invokeByName(&launcher, "getApplicationType", { "QString" }, { QStringLiteral("NFPAMain.exe") },
                         &result, APP_TYPE));
    QCOMPARE(result.toInt(), 4);
    QVERIFY(invokeByName(&launcher, "getFileArgumentApplicationType", { "QString" },
                         { QStringLiteral("/no/such/plan.kxld") }, &result, APP_TYPE));
    QCOMPARE(result.toInt(), -1);
    QVERIFY(invokeByName(&launcher, "updateActiveDefaultPrinter", { "QString", "bool" },
                         { QStringLiteral("P1"), true }));
    QVERIFY(invokeByName(&launcher, "setDashboardWId", { "int" }, { 7 }));
    QVERIFY(invokeByName(&launcher, "closeProcess", { "qint64" }, { qint64(1) }));
    QVERIFY(invokeByName(&launcher, "launchLabelFile", { "QString" }, { QStringLiteral("/no/such/file.kxld") }));
    // A tool type starts nothing: both the full and the short form are found.
    QVERIFY(invokeByName(&launcher, "launchApplication", { APP_TYPE, "QString" }, { 9, QString() }));
    QVERIFY(invokeByName(&launcher, "launchApplication", { APP_TYPE }, { 9 }));
    QCOMPARE(launcher.findChildren<QProcess *>().size(), 0);
}

void tst_QmlInterface::mainWindowCalledByName()
{
    DashboardMainWindow window;
    QVariant result;
    QVERIFY(invokeByName(&window, "getApplicationExec", { APP_TYPE }, { 0 }, &result, "QString"));
    QCOMPARE(result.toString(), QStringLiteral("QVLabelEditor.exe"));
    QVERIFY(invokeByName(&window, "getApplicationType", { "QString" }, { QStringLiteral("x") }, &result, APP_TYPE));
    QCOMPARE(result.toInt(), -1);
    QVERIFY(invokeByName(&window, "getFileArgumentApplicationType", { "QString" }, { QString() }, &result, APP_TYPE));
    QCOMPARE(result.toInt(), -1);
    QVERIFY(invokeByName(&window, "setTestModeEnabled", { "bool" }, { true }));
    QVERIFY(invokeByName(&window, "launchApplication", { APP_TYPE }, { 8 }));
    QVERIFY(invokeByName(&window, "launchLabelFile", { "QString" }, { QString() }));
    QVERIFY(invokeByName(&window, "saveWindowGeometry", {}, {}));
    QVERIFY(invokeByName(&window, "restoreWindowGeometry", {}, {}));
    QSignalSpy updates(&window, &DashboardMainWindow::isPrinterUpdateAvailableChanged);
    QVERIFY(invokeByName(&window, "arePrintersUpToDate", { "int", "bool" }, { 0, true }));
    QCOMPARE(updates.size(), 1);
    QCOMPARE(updates.at(0).at(0).toBool(), false);
    QVERIFY(invokeByName(&window, "getPrinterStatusController", {}, {}, &result, "PrinterStatusController*"));
    QCOMPARE(result.value<PrinterStatusController *>(), window.getPrinterStatusController());
    QVERIFY(window.getPrinterStatusController());
    QCOMPARE(window.property("windowTitlebarHeight").toUInt(), 31u);
}

void tst_QmlInterface::appWindowCalledByName()
{
    DashboardAppWindow item;
    QSignalSpy changed(&item, &DashboardAppWindow::windowTitleChanged);
    QVERIFY(item.setProperty("windowTitle", QStringLiteral("Designer")));
    QCOMPARE(changed.size(), 1);
    QVERIFY(item.setProperty("windowId", QVariant::fromValue(qulonglong(0x1234))));
    QCOMPARE(item.windowId(), qulonglong(0x1234));
    for (const char *name : { "hideApplication", "showApplication", "closeApplication" })
        QVERIFY2(invokeByName(&item, name, {}, {}), name);
    QVERIFY(!item.containerWindow());
}

void tst_QmlInterface::messagingHelperCalledByName()
{
    PrinterStatusController printers;
    QVIPCHelper_win32 helper(&printers);
    QVERIFY(invokeByName(&helper, "onModulePrinterChanged", { "QString" }, { QStringLiteral("nobody") }));
    QVERIFY(invokeByName(&helper, "onStatusChanged", { "int", "QString" }, { 3, QStringLiteral("P1") }));
    QVERIFY(invokeByName(&helper, "onSupplyIdChanged", { "QString" }, { QStringLiteral("P1") }));
    QVERIFY(invokeByName(&helper, "onRibbonIdsChanged", { "QString" }, { QStringLiteral("P1") }));
    QVERIFY(invokeByName(&helper, "closeApplicationRequest", {}, {}));
    QVERIFY(helper.registeredModules().isEmpty());
}

void tst_QmlInterface::fileControllersCalledByName()
{
    QTemporaryDir root;
    QVERIFY(root.isValid());
    QVERIFY(QDir(root.path()).mkpath(QStringLiteral("sub")));
    QFile label(root.filePath(QStringLiteral("plan.kxld")));
    QVERIFY(label.open(QIODevice::WriteOnly));
    label.close();

    MyLabelsController myLabels;
    QVariant result;
    QVERIFY(invokeByName(&myLabels, "setRootFolder", { "QString" }, { root.path() }));
    QVERIFY(invokeByName(&myLabels, "getCurrentFolder", {}, {}, &result, "QString"));
    QCOMPARE(result.toString(), root.path());
    QVERIFY(invokeByName(&myLabels, "updateFileLists", {}, {}));
    QVERIFY(invokeByName(&myLabels, "getSearchedLabelFilesList", {}, {}, &result,
                         "QList<DashboardFileInfoStruct>"));
    const auto files = result.value<QList<DashboardFileInfoStruct>>();
    QCOMPARE(files.size(), 1);
    QCOMPARE(files.first().labelFileName, QStringLiteral("plan.kxld"));
    QVERIFY(invokeByName(&myLabels, "prependFolders", {}, {}));
    QCOMPARE(myLabels.getSearchedLabelFilesList().size(), 2);
    QVERIFY(invokeByName(&myLabels, "enterFolder", { "QString" }, { QStringLiteral("sub") }));
    QCOMPARE(myLabels.getCurrentFolder(), root.filePath(QStringLiteral("sub")));
    QVERIFY(invokeByName(&myLabels, "exitFolder", { "QString" }, { root.filePath(QStringLiteral("sub")) },
                         &result, "QString"));
    QCOMPARE(result.toString(), QString());
    QCOMPARE(myLabels.getCurrentFolder(), root.path());
    QVERIFY(invokeByName(&myLabels, "setSearchString", { "QString" }, { QStringLiteral("PLAN") }));
    QVERIFY(invokeByName(&myLabels, "getSearchString", {}, {}, &result, "QString"));
    QCOMPARE(result.toString(), QStringLiteral("PLAN"));
    QSignalSpy sorted(&myLabels, &DashboardCommonFileController::listSorted);
    QVERIFY(invokeByName(&myLabels, "searchLabelFileList", {}, {}));
    QVERIFY(invokeByName(&myLabels, "setSortType", { "DashboardGlobal::SortByType" }, { 3 }));
    QVERIFY(invokeByName(&myLabels, "getSortType", {}, {}, &result, "DashboardGlobal::SortByType"));
    QCOMPARE(result.toInt(), 3);
    QVERIFY(invokeByName(&myLabels, "sortLabelFilesList", {}, {}));
    QCOMPARE(sorted.size(), 2);

    QSignalSpy launch(&myLabels, &DashboardCommonFileController::launchLabelInModule);
    const int id = myLabels.getSearchedLabelFilesList().first().id;
    QVERIFY(invokeByName(&myLabels, "openLabel", { "int" }, { id }));
    QCOMPARE(launch.size(), 1);
    QCOMPARE(launch.at(0).at(0).value<DashboardGlobal::ApplicationType>(), DashboardGlobal::APP_LABELDESIGNER);
    QCOMPARE(launch.at(0).at(1).toString(), root.filePath(QStringLiteral("plan.kxld")));
    QVERIFY(invokeByName(&myLabels, "setFavorite", { "bool", "int" }, { false, id }, &result, "bool"));
    QCOMPARE(result.toBool(), true);
    QVERIFY(myLabels.getSearchedLabelFilesList().first().isFavorite);
    QVERIFY(invokeByName(&myLabels, "removeFavorite", { "bool", "QString", "int" },
                         { true, root.filePath(QStringLiteral("plan.kxld")), 1 }));
    QVERIFY(!myLabels.getSearchedLabelFilesList().first().isFavorite);
    QVERIFY(invokeByName(&myLabels, "consoleLog", { "QString" }, { QStringLiteral("by name") }));

    RecentlyViewedController recent;
    QVERIFY(invokeByName(&recent, "updateFileLists", {}, {}));
    FavoritesController favorites;
    QVERIFY(invokeByName(&favorites, "updateFileLists", {}, {}));
    QCOMPARE(favorites.getSearchedLabelFilesList().size(), 0);
}

void tst_QmlInterface::navigationCalledByName()
{
    DashboardMain main;
    QSignalSpy hits(AnalyticsLibrary::instance(), &AnalyticsLibrary::analyticHitSent);
    QVERIFY(invokeByName(&main, "sendContentOpenAnalyticHit", { "DashboardMain::DashboardBannerType" }, { 2 }));
    QCOMPARE(hits.size(), 1);
    QCOMPARE(hits.at(0).at(1).toJsonObject().value(u"contentName").toString(), QStringLiteral("Banner - Resources"));

    UrlRecorder recorder;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &recorder, "open");
    const bool called = invokeByName(&main, "openFileExplorer", {}, {});
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    QVERIFY(called);
    QCOMPARE(recorder.urls, QList<QUrl> { QUrl::fromLocalFile(DashboardMain::labelFolderPath()) });

    MeatballsNavigationModel meatballs;
    QSignalSpy meatballsChanged(&meatballs, &MeatballsNavigationModel::meatballsNavItemsListChanged);
    QVERIFY(invokeByName(&meatballs, "populateMeatballsNavItemsList", {}, {}));
    QCOMPARE(meatballsChanged.size(), 1);
    QCOMPARE(meatballs.property("meatballsNavItemsList").toList().size(), 3);

    SettingsNavigationModel settingsNavigation;
    QSignalSpy settingsChanged(&settingsNavigation, &SettingsNavigationModel::settingsNavItemsListChanged);
    QVERIFY(invokeByName(&settingsNavigation, "populateSettingsNavItemsList", {}, {}));
    QCOMPARE(settingsChanged.size(), 1);
    QCOMPARE(settingsNavigation.property("settingsNavItemsList").toList().size(), 6);

    SettingsContentsModels contents;
    QVariant result;
    QVERIFY(invokeByName(&contents, "populateLanguagesModelList", {}, {}));
    QVERIFY(invokeByName(&contents, "getLanguagesModelList", {}, {}, &result, "QStringList"));
    QVERIFY(result.toStringList().size() > 1);
    QCOMPARE(contents.property("languagesModelList").toStringList(), result.toStringList());
    QVERIFY(invokeByName(&contents, "getLanguageCode", { "int" }, { 0 }, &result, "QString"));
    QCOMPARE(result.toString(), QStringLiteral("en_US"));
}

void tst_QmlInterface::settingsCalledByName()
{
    DashboardSettingsController settings;
    QVariant result;
    QSignalSpy appearance(&settings, &DashboardSettingsController::settingAppearanceChanged);
    QVERIFY(invokeByName(&settings, "setSetting", { "QString", "QVariant" },
                         { settings.property("KEY_APPEARANCE"), QVariant(false) }));
    QCOMPARE(appearance.size(), 1);
    QCOMPARE(appearance.at(0).at(0).toBool(), false);
    QVERIFY(invokeByName(&settings, "getSetting", { "QString", "QVariant" },
                         { QStringLiteral("appearance"), QVariant(true) }, &result, "QVariant"));
    QCOMPARE(result.value<QVariant>().toBool(), false);
    QVERIFY(invokeByName(&settings, "resetSettings", {}, {}));
    QCOMPARE(settings.property("settingAppearance").toBool(), true);
    QVERIFY(invokeByName(&settings, "getLanguageEnglishName", { "int" }, { 0 }, &result, "QString"));
    QVERIFY(!result.toString().isEmpty());
    QSignalSpy hits(AnalyticsLibrary::instance(), &AnalyticsLibrary::analyticHitSent);
    QVERIFY(invokeByName(&settings, "sendAnalyticHit", { "QString", "QVariant" },
                         { QStringLiteral("units"), QVariant(2) }));
    QCOMPARE(hits.size(), 1);
    QCOMPARE(hits.at(0).at(1).toJsonObject().value(u"newValue").toString(), QStringLiteral("2"));
}

void tst_QmlInterface::updateAndLicenceCalledByName()
{
    DashboardUpgraderHelper upgrader;
    QVariant result;
    QVERIFY(invokeByName(&upgrader, "getCurrentVersion", {}, {}, &result, "QString"));
    QCOMPARE(result.toString(), upgrader.getCurrentVersion());
    QVERIFY(!result.toString().isEmpty());
    QSignalSpy available(&upgrader, &DashboardUpgraderHelper::isUpdateAvailableChanged);
    QVERIFY(invokeByName(&upgrader, "handleUpdateCheck", {}, {}));
    QCOMPARE(available.size(), 1);
    // launchKxproUpgrader quits the application and starts a program; the upgrader's own test
    // calls it by name under an event loop of its own.
    QVERIFY(upgrader.metaObject()->indexOfMethod("launchKxproUpgrader()") >= 0);

    DashboardGetLicenseHelper licence;
    QSignalSpy loaded(&licence, &DashboardGetLicenseHelper::licenseTextChanged);
    QVERIFY(invokeByName(&licence, "loadLicense", {}, {}));
    QCOMPARE(loaded.size(), 1);
    QVERIFY(!licence.property("licenseText").toString().isEmpty());
}

// QML hands a number to an enumeration parameter; the call must take it as that value.
void tst_QmlInterface::enumArgumentsTakePlainNumbersFromQml()
{
    LauncherController launcher;
    Script launcherScript(&launcher);
    QCOMPARE(launcherScript.run(QStringLiteral("target.getApplicationExec(7)")).toString(),
             QStringLiteral("PrinterMaintenance.exe"));
    QCOMPARE(launcherScript.run(QStringLiteral("target.getApplicationExec(16)")).toString(), QString());
    QVERIFY(!launcherScript.run(QStringLiteral("target.launchApplication(9); target.launchApplication(9, '')")).isError());

    DashboardMainWindow window;
    Script windowScript(&window);
    QCOMPARE(windowScript.run(QStringLiteral("target.getApplicationExec(3)")).toString(), QStringLiteral("QuenbyGHS.exe"));

    FavoritesController favorites;
    Script favoritesScript(&favorites);
    QCOMPARE(favoritesScript.run(QStringLiteral("target.setSortType(5); target.getSortType()")).toInt(), 5);
    QCOMPARE(favorites.getSortType(), DashboardGlobal::OLDEST);

    DashboardMain main;
    Script mainScript(&main);
    QSignalSpy hits(AnalyticsLibrary::instance(), &AnalyticsLibrary::analyticHitSent);
    QVERIFY(!mainScript.run(QStringLiteral("target.sendContentOpenAnalyticHit(1)")).isError());
    QCOMPARE(hits.size(), 1);
    QCOMPARE(hits.at(0).at(1).toJsonObject().value(u"contentName").toString(),
             QStringLiteral("Banner - Premade Signs"));
}

// An enumeration result or signal argument of -1 reaches QML as -1, not as an unsigned number.
void tst_QmlInterface::enumResultsReachQmlAsSignedNumbers()
{
    LauncherController launcher;
    Script script(&launcher);
    QCOMPARE(script.run(QStringLiteral("target.getApplicationType('none.exe')")).toInt(), -1);
    QCOMPARE(script.run(QStringLiteral("target.getApplicationType('none.exe') === -1")).toBool(), true);
    QCOMPARE(script.run(QStringLiteral("target.getApplicationType('ArcFlashMain.exe')")).toInt(), 2);
    QCOMPARE(script.run(QStringLiteral("target.getFileArgumentApplicationType('') < 0")).toBool(), true);

    // A signal's enumeration argument reaches a QML handler as its number too.
    QTemporaryDir root;
    QVERIFY(root.isValid());
    QFile label(root.filePath(QStringLiteral("line.kxpm")));
    QVERIFY(label.open(QIODevice::WriteOnly));
    label.close();
    MyLabelsController controller;
    controller.setRootFolder(root.path());
    controller.updateFileLists();
    QCOMPARE(controller.getSearchedLabelFilesList().size(), 1);
    Script labels(&controller);
    labels.run(QStringLiteral("var opened = []; target.launchLabelInModule.connect(function(type, path) { opened.push(type, path); })"));
    controller.openLabel(controller.getSearchedLabelFilesList().first().id);
    QCOMPARE(labels.run(QStringLiteral("opened.length")).toInt(), 2);
    QCOMPARE(labels.run(QStringLiteral("opened[0] === 5")).toBool(), true);
    QCOMPARE(labels.run(QStringLiteral("opened[1]")).toString(), root.filePath(QStringLiteral("line.kxpm")));
}

QTEST_MAIN(tst_QmlInterface)
#include "tst_qmlinterface.moc"
