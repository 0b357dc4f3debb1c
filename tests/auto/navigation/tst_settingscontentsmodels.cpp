#include "models/settings_contents_models.h"

#include "dashboard_settings.h"

#include "locale/qvlocale_languages.h"

#include <QSignalSpy>
#include <QTranslator>
#include <QtTest>

class tst_SettingsContentsModels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void languageList();
    void populateEmitsNothing();
    void languageCode_data();
    void languageCode();
    void codeOfCurrentLanguage_data();
    void codeOfCurrentLanguage();
    void germanNames();
};

void tst_SettingsContentsModels::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_SettingsContentsModels::init()
{
    auto store = DashboardSettings::openDashboardStore();
    store->clear();
    store->sync();
}

void tst_SettingsContentsModels::languageList()
{
    SettingsContentsModels models;
    const QStringList names = models.getLanguagesModelList();
    QCOMPARE(names, QVLocaleLanguages().getTrLanguageNamesList());
    QCOMPARE(names.size(), 12);
    QCOMPARE(names.first(), QStringLiteral("English"));
    QCOMPARE(names.at(1), QStringLiteral("German"));
    QCOMPARE(models.property("languagesModelList").toStringList(), names);
    QStringList result;
    QVERIFY(QMetaObject::invokeMethod(&models, "getLanguagesModelList",
                                      Q_RETURN_ARG(QStringList, result)));
    QCOMPARE(result, names);
}

void tst_SettingsContentsModels::populateEmitsNothing()
{
    SettingsContentsModels models;
    QSignalSpy spy(&models, &SettingsContentsModels::languagesModelListChanged);
    QVERIFY(QMetaObject::invokeMethod(&models, "populateLanguagesModelList"));
    QCOMPARE(spy.size(), 0);
    QCOMPARE(models.getLanguagesModelList().size(), 12);
}

void tst_SettingsContentsModels::languageCode_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("code");

    QTest::newRow("first") << 0 << "en_US";
    QTest::newRow("german") << 1 << "de_DE";
    QTest::newRow("last") << 11 << "ko_KR";
    QTest::newRow("one past the end") << 12 << "";
    QTest::newRow("negative") << -1 << "";
    QTest::newRow("INT_MIN") << std::numeric_limits<int>::min() << "";
    QTest::newRow("INT_MAX") << std::numeric_limits<int>::max() << "";
}

void tst_SettingsContentsModels::languageCode()
{
    QFETCH(int, index);
    QFETCH(QString, code);

    SettingsContentsModels models;
    QString result;
    QVERIFY(QMetaObject::invokeMethod(&models, "getLanguageCode", Q_RETURN_ARG(QString, result),
                                      Q_ARG(int, index)));
    QCOMPARE(result, code);
}

void tst_SettingsContentsModels::codeOfCurrentLanguage_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QString>("code");

    QTest::newRow("nothing stored") << QVariant() << "en_US";
    QTest::newRow("german") << QVariant("de_DE") << "de_DE";
    QTest::newRow("japanese") << QVariant("ja_JP") << "ja_JP";
    QTest::newRow("unknown code") << QVariant("tlh_KX") << "en_US";
    QTest::newRow("wrong type") << QVariant(QVariantList { 1, 2 }) << "en_US";
}

void tst_SettingsContentsModels::codeOfCurrentLanguage()
{
    QFETCH(QVariant, stored);
    QFETCH(QString, code);

    if (stored.isValid())
        DashboardSettings::openDashboardStore()->setValue(QStringLiteral("locale/language"), stored);
    SettingsContentsModels models;
    const int current = QVLocaleLanguages().getCurrentLanguageId();
    QCOMPARE(models.getLanguageCode(current), code);
}

void tst_SettingsContentsModels::germanNames()
{
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral(":/i18n/korvexdashboard_de.qm")));
    QCoreApplication::installTranslator(&translator);
    SettingsContentsModels models;
    QCoreApplication::removeTranslator(&translator);
    const QStringList names = models.getLanguagesModelList();
    QCOMPARE(names.at(0), QStringLiteral("Englisch"));
    QCOMPARE(names.at(1), QStringLiteral("Deutsch"));
    QCOMPARE(names.at(2), QStringLiteral("Französisch"));
}

QTEST_GUILESS_MAIN(tst_SettingsContentsModels)
#include "tst_settingscontentsmodels.moc"
