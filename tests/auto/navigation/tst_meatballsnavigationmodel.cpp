#include "models/meatballs_navigation_model.h"

#include "qmlutils/qvdashboard_icons.h"

#include <QFile>
#include <QMetaEnum>
#include <QRawFont>
#include <QSignalSpy>
#include <QTranslator>
#include <QtTest>

class tst_MeatballsNavigationModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void meatballsRows_data();
    void meatballsRows();
    void meatballsEnum();
    void meatballsRepopulate();
    void glyphsExistInIconFont();
    void germanTranslation();

private:
    QRawFont m_iconFont;
};

void tst_MeatballsNavigationModel::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QFile file(QStringLiteral(":/Fonts/QVDashboardIcons.ttf"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    m_iconFont.loadFromData(file.readAll(), 16, QFont::PreferDefaultHinting);
    QVERIFY(m_iconFont.isValid());
}

void tst_MeatballsNavigationModel::meatballsRows_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QByteArray>("icon");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("navType");

    QTest::newRow("about") << 0 << QByteArray("about") << "About" << 0;
    QTest::newRow("settings") << 1 << QByteArray("generalSettings") << "Settings" << 1;
    QTest::newRow("quit") << 2 << QByteArray("logOut") << "Quit" << 2;
}

void tst_MeatballsNavigationModel::meatballsRows()
{
    QFETCH(int, row);
    QFETCH(QByteArray, icon);
    QFETCH(QString, name);
    QFETCH(int, navType);

    MeatballsNavigationModel model;
    const QVariantList list = model.property("meatballsNavItemsList").toList();
    QCOMPARE(list.size(), 3);
    const MeatballsNavigationItem item = list.at(row).value<MeatballsNavigationItem>();
    QCOMPARE(item.navIcon, QVDashboardIcons().property(icon.constData()).toString());
    QCOMPARE(item.navIcon.size(), 1);
    QCOMPARE(item.navName, name);
    QCOMPARE(int(item.navType), navType);
}

void tst_MeatballsNavigationModel::meatballsEnum()
{
    const QMetaEnum e = QMetaEnum::fromType<MeatballsNavigationModel::MeatballsNavigationType>();
    QCOMPARE(e.keyCount(), 4);
    QCOMPARE(QByteArray(e.key(0)), QByteArray("NAV_NULL"));
    QVERIFY(e.value(0) < 0);
    QCOMPARE(e.keyToValue("NAV_ABOUT"), 0);
    QCOMPARE(e.keyToValue("NAV_SETTINGS"), 1);
    QCOMPARE(e.keyToValue("NAV_QUIT"), 2);
}

void tst_MeatballsNavigationModel::meatballsRepopulate()
{
    MeatballsNavigationModel model;
    QSignalSpy spy(&model, &MeatballsNavigationModel::meatballsNavItemsListChanged);
    const QVariantList before = model.getMeatballsNavItemsList();
    QVERIFY(QMetaObject::invokeMethod(&model, "populateMeatballsNavItemsList"));
    QCOMPARE(spy.size(), 1);
    // Rebuilt from scratch: the same rows, not the rows twice or in another order.
    const QVariantList after = model.getMeatballsNavItemsList();
    QCOMPARE(after.size(), 3);
    QCOMPARE(before.size(), 3);
    for (int row = 0; row < after.size(); ++row) {
        const auto was = before.at(row).value<MeatballsNavigationItem>();
        const auto is = after.at(row).value<MeatballsNavigationItem>();
        QCOMPARE(is.navIcon, was.navIcon);
        QCOMPARE(is.navName, was.navName);
        QCOMPARE(is.navType, was.navType);
    }
}

void tst_MeatballsNavigationModel::glyphsExistInIconFont()
{
    const QVariantList list = MeatballsNavigationModel().getMeatballsNavItemsList();
    QCOMPARE(list.size(), 3);
    for (const QVariant &v : list) {
        const QString glyph = v.value<MeatballsNavigationItem>().navIcon;
        QCOMPARE(glyph.size(), 1);
        QVERIFY(glyph.at(0).unicode() >= 0xE000 && glyph.at(0).unicode() <= 0xF8FF);
        QVERIFY(m_iconFont.supportsCharacter(glyph.at(0)));
    }
}

void tst_MeatballsNavigationModel::germanTranslation()
{
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral(":/i18n/korvexdashboard_de.qm")));
    QCoreApplication::installTranslator(&translator);
    MeatballsNavigationModel meatballs;
    QCoreApplication::removeTranslator(&translator);

    QCOMPARE(meatballs.getMeatballsNavItemsList().at(0).value<MeatballsNavigationItem>().navName,
             QStringLiteral("Über"));
    QCOMPARE(meatballs.getMeatballsNavItemsList().at(1).value<MeatballsNavigationItem>().navName,
             QStringLiteral("Einstellungen"));
    QCOMPARE(meatballs.getMeatballsNavItemsList().at(2).value<MeatballsNavigationItem>().navName,
             QStringLiteral("Beenden"));
}

QTEST_MAIN(tst_MeatballsNavigationModel)
#include "tst_meatballsnavigationmodel.moc"
