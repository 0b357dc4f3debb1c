#include "locale/qvlocale_languages.h"

#include <QSet>
#include <QSettings>
#include <QtTest>

class tst_QVLocaleLanguages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void fixedOrderedList();
    void outOfRange_data();
    void outOfRange();
    void currentLanguage_data();
    void currentLanguage();
};

void tst_QVLocaleLanguages::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_QVLocaleLanguages::init()
{
    QSettings s(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Quorvane Inc"),
                QStringLiteral("KorvexPro"));
    s.clear();
}

void tst_QVLocaleLanguages::fixedOrderedList()
{
    const QVLocaleLanguages languages;
    QCOMPARE(languages.languageCount(), 12);
    QStringList codes;
    for (int i = 0; i < languages.languageCount(); ++i)
        codes << languages.getLanguageCode(i);
    QCOMPARE(codes, (QStringList { "en_US", "de_DE", "fr_FR", "es_ES", "it_IT", "pt_BR", "nl_NL",
                                   "pl_PL", "sv_SE", "ja_JP", "zh_CN", "ko_KR" }));
    QCOMPARE(languages.getTrLanguageNamesList(),
             (QStringList { "English", "German", "French", "Spanish", "Italian",
                            "Portuguese (Brazil)", "Dutch", "Polish", "Swedish", "Japanese",
                            "Chinese (Simplified)", "Korean" }));
    for (int i = 0; i < languages.languageCount(); ++i) {
        QCOMPARE(languages.getTrLanguageName(i), languages.getTrLanguageNamesList().at(i));
        QCOMPARE(languages.indexOfLanguageCode(codes.at(i)), i);
    }
    QCOMPARE(QSet<QString>(codes.begin(), codes.end()).size(), codes.size());
}

void tst_QVLocaleLanguages::outOfRange_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("-1") << -1;
    QTest::newRow("count") << 12;
    QTest::newRow("INT_MAX") << std::numeric_limits<int>::max();
    QTest::newRow("INT_MIN") << std::numeric_limits<int>::min();
}

void tst_QVLocaleLanguages::outOfRange()
{
    QFETCH(int, index);
    const QVLocaleLanguages languages;
    QCOMPARE(languages.getTrLanguageName(index), QString());
    QCOMPARE(languages.getLanguageCode(index), QString());
}

void tst_QVLocaleLanguages::currentLanguage_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<int>("index");

    QTest::newRow("none") << QVariant() << 0;
    QTest::newRow("en_US") << QVariant("en_US") << 0;
    QTest::newRow("de_DE") << QVariant("de_DE") << 1;
    QTest::newRow("ko_KR") << QVariant("ko_KR") << 11;
    QTest::newRow("language only") << QVariant("de") << 0;
    QTest::newRow("wrong case") << QVariant("DE_de") << 0;
    QTest::newRow("number") << QVariant(1) << 0;
    QTest::newRow("empty") << QVariant("") << 0;
}

void tst_QVLocaleLanguages::currentLanguage()
{
    QFETCH(QVariant, stored);
    QFETCH(int, index);
    if (stored.isValid()) {
        QSettings s(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Quorvane Inc"),
                    QStringLiteral("KorvexPro"));
        s.setValue(QStringLiteral("locale/language"), stored);
    }
    QCOMPARE(QVLocaleLanguages().getCurrentLanguageId(), index);
}

QTEST_GUILESS_MAIN(tst_QVLocaleLanguages)
#include "tst_qvlocalelanguages.moc"
