#include "models/settings_navigation_model.h"

#include "qmlutils/qvdashboard_icons.h"

#include <QFile>
#include <QMetaEnum>
#include <QRawFont>
#include <QSignalSpy>
#include <QTranslator>
#include <QtTest>

class tst_SettingsNavigationModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void settingsRows_data();
    void settingsRows();
    void settingsEnum();
    void settingsRepopulate();
    void glyphsExistInIconFont();
    void germanTranslation();

private:
    QRawFont m_iconFont;
};

void tst_SettingsNavigationModel::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QFile file(QStringLiteral(":/Fonts/QVDashboardIcons.ttf"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    m_iconFont.loadFromData(file.readAll(), 16, QFont::PreferDefaultHinting);
    QVERIFY(m_iconFont.isValid());
}

void tst_SettingsNavigationModel::settingsRows_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QByteArray>("icon");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("navType");

    QTest::newRow("units") << 0 << QByteArray("tapeRuler") << "Units" << 0;
    QTest::newRow("language") << 1 << QByteArray("language") << "Language" << 1;
    QTest::newRow("appearance") << 2 << QByteArray("palette") << "Appearance" << 2;
    QTest::newRow("privacy") << 3 << QByteArray("shield") << "Privacy" << 3;
    QTest::newRow("cloud") << 4 << QByteArray("cloud") << "Cloud" << 4;
    QTest::newRow("reset") << 5 << QByteArray("restart") << "Reset Settings" << 5;
}

void tst_SettingsNavigationModel::settingsRows()
{
    QFETCH(int, row);
    QFETCH(QByteArray, icon);
    QFETCH(QString, name);
    QFETCH(int, navType);

    SettingsNavigationModel model;
    const QVariantList list = model.property("settingsNavItemsList").toList();
    QCOMPARE(list.size(), 6);
    const SettingsNavigationItem item = list.at(row).value<SettingsNavigationItem>();
    QCOMPARE(item.navIcon, QVDashboardIcons().property(icon.constData()).toString());
    QCOMPARE(item.navIcon.size(), 1);
    QCOMPARE(item.navName, name);
    QCOMPARE(int(item.navType), navType);
}

void tst_SettingsNavigationModel::settingsEnum()
{
    const QMetaEnum e = QMetaEnum::fromType<SettingsNavigationModel::SettingsNavigationType>();
    QCOMPARE(e.keyCount(), 7);
    const QList<QByteArray> keys { "NAV_NULL", "NAV_UNITS", "NAV_LANGUAGE", "NAV_APPEARANCE",
                                   "NAV_PRIVACY", "NAV_CLOUD", "NAV_RESET" };
    for (int i = 0; i < keys.size(); ++i)
        QCOMPARE(QByteArray(e.key(i)), keys.at(i));
    QVERIFY(e.value(0) < 0);
    for (int i = 1; i < keys.size(); ++i)
        QCOMPARE(e.value(i), i - 1);
}

void tst_SettingsNavigationModel::settingsRepopulate()
{
    SettingsNavigationModel model;
    QSignalSpy spy(&model, &SettingsNavigationModel::settingsNavItemsListChanged);
    QVERIFY(QMetaObject::invokeMethod(&model, "populateSettingsNavItemsList"));
    QCOMPARE(spy.size(), 1);
    QCOMPARE(model.getSettingsNavItemsList().size(), 6);
}

void tst_SettingsNavigationModel::glyphsExistInIconFont()
{
    const QVariantList list = SettingsNavigationModel().getSettingsNavItemsList();
    QCOMPARE(list.size(), 6);
    for (const QVariant &v : list) {
        const QString glyph = v.value<SettingsNavigationItem>().navIcon;
        QCOMPARE(glyph.size(), 1);
        QVERIFY(glyph.at(0).unicode() >= 0xE000 && glyph.at(0).unicode() <= 0xF8FF);
        QVERIFY(m_iconFont.supportsCharacter(glyph.at(0)));
    }
}

void tst_SettingsNavigationModel::germanTranslation()
{
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral(":/i18n/korvexdashboard_de.qm")));
    QCoreApplication::installTranslator(&translator);
    SettingsNavigationModel settings;
    QCoreApplication::removeTranslator(&translator);

    QCOMPARE(settings.getSettingsNavItemsList().at(1).value<SettingsNavigationItem>().navName,
             QStringLiteral("Sprache"));
    QCOMPARE(settings.getSettingsNavItemsList().at(5).value<SettingsNavigationItem>().navName,
             QStringLiteral("Einstellungen zurücksetzen"));
}

QTEST_MAIN(tst_SettingsNavigationModel)
#include "tst_settingsnavigationmodel.moc"
