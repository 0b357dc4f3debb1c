#include "dashboard_global.h"

#include <QMetaEnum>
#include <QMetaProperty>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QtTest>

class tst_DashboardGlobal : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void enumerators_data();
    void enumerators();
    void enumeratorCounts_data();
    void enumeratorCounts();
    void enumsAreUnscopedAndNotFlags();
    void textToApplicationType();
    void unusedApplicationValueHasNoName();
    void qualifiedMetaTypeNames_data();
    void qualifiedMetaTypeNames();
    void qmlSeesNegativeValues();
    void navigationItemFields();
    void resourceItemFields();
    void gadgetWriteAndQmlRead();
};

static QMetaEnum metaEnum(const char *name)
{
    const QMetaObject &mo = DashboardGlobal::staticMetaObject;
    return mo.enumerator(mo.indexOfEnumerator(name));
}

void tst_DashboardGlobal::enumerators_data()
{
    QTest::addColumn<QByteArray>("enumName");
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<int>("value");

    const struct { const char *e; const char *k; int v; } rows[] = {
        { "NavigationType", "NAV_NULL", -1 }, { "NavigationType", "NAV_HOME", 0 },
        { "NavigationType", "NAV_CLOUD", 1 }, { "NavigationType", "NAV_BACK", 2 },
        { "NavigationType", "NAV_PREMADESIGNS", 3 }, { "NavigationType", "NAV_RESOURCES", 10 },
        { "NavigationType", "NAV_URL_SUPPORT", 11 }, { "NavigationType", "NAV_URL_LIVECHAT", 12 },
        { "NavigationType", "NAV_URL_FEEDBACK", 13 }, { "NavigationType", "NAV_APP", 19 },
        { "NavigationType", "NAV_TOOLS", 20 }, { "NavigationType", "NAV_DEBUG", 21 },
        { "LabelLocation", "LABEL_LOCAL", 1 }, { "LabelLocation", "LABEL_FAVORITE", 2 },
        { "LabelLocation", "LABEL_DROPBOX", 3 }, { "LabelLocation", "LABEL_GOOGLEDRIVE", 4 },
        { "LabelLocation", "LABEL_ONEDRIVE", 5 },
        { "ApplicationType", "APP_NULL", -1 }, { "ApplicationType", "APP_LABELDESIGNER", 0 },
        { "ApplicationType", "APP_PREMADESIGNS", 1 }, { "ApplicationType", "APP_ARCFLASH", 2 },
        { "ApplicationType", "APP_CHEMICAL", 3 }, { "ApplicationType", "APP_NFPA", 4 },
        { "ApplicationType", "APP_PIPEMARKING", 5 }, { "ApplicationType", "APP_SYMBOLCREATOR", 6 },
        { "ApplicationType", "APP_PRINTERMAINTENANCE", 7 }, { "ApplicationType", "APP_SETTINGS", 8 },
        { "ApplicationType", "APP_CALCULATOR", 9 }, { "ApplicationType", "APP_CHARACTERMAP", 10 },
        { "ApplicationType", "APP_DATABASEMANAGER", 11 }, { "ApplicationType", "APP_FONTINSTALLER", 12 },
        { "ApplicationType", "APP_GRAPHICVIEWER", 13 }, { "ApplicationType", "APP_PDFVIEWER", 14 },
        { "ApplicationType", "APP_SPREADSHEETVIEWER", 15 }, { "ApplicationType", "APP_TEXTEDITOR", 17 },
        { "ApplicationType", "APP_VIDEOPLAYER", 18 }, { "ApplicationType", "APP_FIRMWAREDIAGNOSTICS", 19 },
        { "ApplicationType", "APP_LITERMINAL", 20 }, { "ApplicationType", "APP_MACHINEQA", 21 },
        { "ApplicationType", "APP_QDBUSVIEWER", 22 }, { "ApplicationType", "APP_SOFTRESET", 23 },
        { "ApplicationType", "APP_LABELDESIGNERTEST", 24 }, { "ApplicationType", "APP_ALIENBLASTER", 25 },
        { "SortByType", "LAST_VIEWED_ASCENDING", 0 }, { "SortByType", "LAST_VIEWED_DESCENDING", 1 },
        { "SortByType", "A_TO_Z", 2 }, { "SortByType", "Z_TO_A", 3 },
        { "SortByType", "NEWEST", 4 }, { "SortByType", "OLDEST", 5 },
        { "ErrorOnPage", "CLOUD", 1 }, { "ErrorOnPage", "LOCAL", 2 },
        { "ErrorOnPage", "FAVORITE", 3 }, { "ErrorOnPage", "RECENTS", 4 },
        { "FileType", "FILE", 0 }, { "FileType", "FOLDER", 1 },
        { "ZoomLevel", "SMALL", 1 }, { "ZoomLevel", "NORMAL", 2 }, { "ZoomLevel", "LARGE", 3 },
    };
    for (const auto &r : rows)
        QTest::addRow("%s::%s", r.e, r.k) << QByteArray(r.e) << QByteArray(r.k) << r.v;
}

void tst_DashboardGlobal::enumerators()
{
    QFETCH(QByteArray, enumName);
    QFETCH(QByteArray, key);
    QFETCH(int, value);

    const QMetaEnum e = metaEnum(enumName.constData());
    QVERIFY(e.isValid());
    bool ok = false;
    QCOMPARE(e.keyToValue(key.constData(), &ok), value);
    QVERIFY(ok);
    QCOMPARE(QByteArray(e.valueToKey(value)), key);
}

void tst_DashboardGlobal::enumeratorCounts_data()
{
    QTest::addColumn<QByteArray>("enumName");
    QTest::addColumn<int>("count");
    QTest::newRow("NavigationType") << QByteArray("NavigationType") << 12;
    QTest::newRow("LabelLocation") << QByteArray("LabelLocation") << 5;
    QTest::newRow("ApplicationType") << QByteArray("ApplicationType") << 26;
    QTest::newRow("SortByType") << QByteArray("SortByType") << 6;
    QTest::newRow("ErrorOnPage") << QByteArray("ErrorOnPage") << 4;
    QTest::newRow("FileType") << QByteArray("FileType") << 2;
    QTest::newRow("ZoomLevel") << QByteArray("ZoomLevel") << 3;
}

void tst_DashboardGlobal::enumeratorCounts()
{
    QFETCH(QByteArray, enumName);
    QFETCH(int, count);
    QCOMPARE(metaEnum(enumName.constData()).keyCount(), count);
}

void tst_DashboardGlobal::enumsAreUnscopedAndNotFlags()
{
    const QMetaObject &mo = DashboardGlobal::staticMetaObject;
    QCOMPARE(mo.enumeratorCount() - mo.enumeratorOffset(), 7);
    for (int i = mo.enumeratorOffset(); i < mo.enumeratorCount(); ++i) {
        QVERIFY2(!mo.enumerator(i).isScoped(), mo.enumerator(i).name());
        QVERIFY2(!mo.enumerator(i).isFlag(), mo.enumerator(i).name());
    }
    // No properties, methods or signals of its own.
    QCOMPARE(mo.propertyCount(), mo.propertyOffset());
    QCOMPARE(mo.methodCount(), mo.methodOffset());
}

void tst_DashboardGlobal::textToApplicationType()
{
    QVariant value(QStringLiteral("APP_TEXTEDITOR"));
    QVERIFY(value.convert(QMetaType::fromType<DashboardGlobal::ApplicationType>()));
    QCOMPARE(value.metaType(), QMetaType::fromType<DashboardGlobal::ApplicationType>());
    QCOMPARE(value.toInt(), 17);

    QVariant unknown(QStringLiteral("APP_NOSUCHTHING"));
    QVERIFY(!unknown.convert(QMetaType::fromType<DashboardGlobal::ApplicationType>()));
}

void tst_DashboardGlobal::unusedApplicationValueHasNoName()
{
    QCOMPARE(metaEnum("ApplicationType").valueToKey(16), nullptr);
}

void tst_DashboardGlobal::qualifiedMetaTypeNames_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QMetaType>("expected");
    QTest::newRow("NavigationType") << QByteArray("DashboardGlobal::NavigationType")
                                    << QMetaType::fromType<DashboardGlobal::NavigationType>();
    QTest::newRow("LabelLocation") << QByteArray("DashboardGlobal::LabelLocation")
                                   << QMetaType::fromType<DashboardGlobal::LabelLocation>();
    QTest::newRow("ApplicationType") << QByteArray("DashboardGlobal::ApplicationType")
                                     << QMetaType::fromType<DashboardGlobal::ApplicationType>();
    QTest::newRow("SortByType") << QByteArray("DashboardGlobal::SortByType")
                                << QMetaType::fromType<DashboardGlobal::SortByType>();
    QTest::newRow("ErrorOnPage") << QByteArray("DashboardGlobal::ErrorOnPage")
                                 << QMetaType::fromType<DashboardGlobal::ErrorOnPage>();
    QTest::newRow("FileType") << QByteArray("DashboardGlobal::FileType")
                              << QMetaType::fromType<DashboardGlobal::FileType>();
    QTest::newRow("ZoomLevel") << QByteArray("DashboardGlobal::ZoomLevel")
                               << QMetaType::fromType<DashboardGlobal::ZoomLevel>();
}

void tst_DashboardGlobal::qualifiedMetaTypeNames()
{
    QFETCH(QByteArray, name);
    QFETCH(QMetaType, expected);
    // Looked up by name only: the library must have registered it when the application started.
    const QMetaType byName = QMetaType::fromName(name);
    QVERIFY2(byName.isValid(), name.constData());
    QCOMPARE(byName, expected);
    QVERIFY(byName.flags().testFlag(QMetaType::IsEnumeration));
}

void tst_DashboardGlobal::qmlSeesNegativeValues()
{
    // The host registers the types with QML; the library itself registers none.
    qmlRegisterUncreatableType<DashboardGlobal>("Korvex.Test", 1, 0, "DashboardGlobal",
                                                QStringLiteral("enumerations only"));
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQml\nimport Korvex.Test\nQtObject {\n"
                      "  property var app: DashboardGlobal.APP_NULL\n"
                      "  property var nav: DashboardGlobal.NAV_NULL\n"
                      "  property bool negative: DashboardGlobal.APP_NULL < 0 && DashboardGlobal.NAV_NULL < 0\n"
                      "  property var textEditor: DashboardGlobal.APP_TEXTEDITOR\n"
                      "}\n",
                      QUrl());
    QScopedPointer<QObject> object(component.create());
    QVERIFY2(object, qPrintable(component.errorString()));
    QCOMPARE(object->property("app").toDouble(), -1.0);
    QCOMPARE(object->property("nav").toDouble(), -1.0);
    QCOMPARE(object->property("negative").toBool(), true);
    QCOMPARE(object->property("textEditor").toInt(), 17);
}

void tst_DashboardGlobal::navigationItemFields()
{
    const QMetaObject &mo = NavigationItem::staticMetaObject;
    const QList<QPair<QByteArray, QMetaType>> expected = {
        { "navIcon", QMetaType::fromType<QString>() },  { "navName", QMetaType::fromType<QString>() },
        { "execName", QMetaType::fromType<QString>() }, { "navType", QMetaType::fromType<int>() },
        { "navAppType", QMetaType::fromType<int>() },   { "navGenericName", QMetaType::fromType<QString>() },
        { "navPackageName", QMetaType::fromType<QString>() }, { "navComment", QMetaType::fromType<QString>() },
        { "tryExec", QMetaType::fromType<QString>() },  { "terminal", QMetaType::fromType<bool>() },
        { "categories", QMetaType::fromType<QString>() }, { "menuOrder", QMetaType::fromType<int>() },
        { "nameUS", QMetaType::fromType<QString>() },   { "selected", QMetaType::fromType<bool>() },
        { "loading", QMetaType::fromType<bool>() },
    };
    QCOMPARE(mo.propertyCount(), expected.size());
    for (int i = 0; i < expected.size(); ++i) {
        const QMetaProperty p = mo.property(i);
        QCOMPARE(QByteArray(p.name()), expected[i].first);
        QCOMPARE(p.metaType(), expected[i].second);
        QVERIFY(p.isReadable());
        QVERIFY(p.isWritable());
        QVERIFY(!p.hasNotifySignal());
    }
}

void tst_DashboardGlobal::resourceItemFields()
{
    const QMetaObject &mo = ResourceItem::staticMetaObject;
    const QByteArrayList expected = { "resImage", "resName", "resSubtitle", "resUrl" };
    QCOMPARE(mo.propertyCount(), expected.size());
    for (int i = 0; i < expected.size(); ++i) {
        QCOMPARE(QByteArray(mo.property(i).name()), expected[i]);
        QCOMPARE(mo.property(i).metaType(), QMetaType::fromType<QString>());
        QVERIFY(mo.property(i).isWritable());
    }
}

void tst_DashboardGlobal::gadgetWriteAndQmlRead()
{
    NavigationItem item;
    const QMetaObject &mo = NavigationItem::staticMetaObject;
    QVERIFY(mo.property(mo.indexOfProperty("navType")).writeOnGadget(&item, int(DashboardGlobal::NAV_APP)));
    QVERIFY(mo.property(mo.indexOfProperty("navAppType")).writeOnGadget(&item, int(DashboardGlobal::APP_NULL)));
    QVERIFY(mo.property(mo.indexOfProperty("navName")).writeOnGadget(&item, QStringLiteral("Home")));
    QCOMPARE(item.navType, 19);
    QCOMPARE(item.navAppType, -1);
    QCOMPARE(item.navName, QStringLiteral("Home"));

    const NavigationItem copy = item;
    QVERIFY(mo.property(mo.indexOfProperty("navName")).writeOnGadget(&item, QStringLiteral("Home")));
    QCOMPARE(item, copy);

    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQml\nQtObject { property var item\n"
                      "  property int appType: item ? item.navAppType : 0\n"
                      "  property string name: item ? item.navName : \"\" }\n",
                      QUrl());
    QScopedPointer<QObject> object(component.create());
    QVERIFY2(object, qPrintable(component.errorString()));
    object->setProperty("item", QVariant::fromValue(item));
    QCOMPARE(object->property("appType").toInt(), -1);
    QCOMPARE(object->property("name").toString(), QStringLiteral("Home"));
}

QTEST_MAIN(tst_DashboardGlobal)
#include "tst_dashboardglobal.moc"
