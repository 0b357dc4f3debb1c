#include "Controllers/dashboard_settings_controller.h"

#include "dashboard_settings.h"

#include "analytics/analytics_library.h"
#include "locale/qvlocale_languages.h"

#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTranslator>
#include <QtTest>

#include <stdexcept>

namespace {

QString storePath()
{
    return DashboardSettings::openDashboardStore()->fileName();
}

QByteArray iniContent()
{
    QFile file(storePath());
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

// Records every change signal of a controller in emission order, as "name(value)".
class SignalLog : public QObject
{
public:
    explicit SignalLog(DashboardSettingsController *c)
    {
        connect(c, &DashboardSettingsController::settingAppearanceChanged, this,
                [this](bool v) { entries << QStringLiteral("appearance(%1)").arg(v); });
        connect(c, &DashboardSettingsController::settingLanguageChanged, this,
                [this](const QString &v) { entries << QStringLiteral("language(%1)").arg(v); });
        connect(c, &DashboardSettingsController::settingLanguageIndexChanged, this,
                [this](uint v) { entries << QStringLiteral("languageIndex(%1)").arg(v); });
        connect(c, &DashboardSettingsController::settingUnitsChanged, this,
                [this](uint v) { entries << QStringLiteral("units(%1)").arg(v); });
        connect(c, &DashboardSettingsController::settingPrivacyAnalyticsChanged, this,
                [this](bool v) { entries << QStringLiteral("privacy(%1)").arg(v); });
        connect(c, &DashboardSettingsController::settingHardwareChanged, this,
                [this](bool v) { entries << QStringLiteral("hardware(%1)").arg(v); });
    }
    QStringList entries;
};

} // namespace

class tst_DashboardSettingsController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void keyConstants();
    void constructorDefaults();
    void constructorReadsStore();
    void wrongTypesInIni_data();
    void wrongTypesInIni();
    void getSettingGroups_data();
    void getSettingGroups();
    void setSettingUnitsStoresInLocaleAndEmitsNothing();
    void setSettingLanguageEmitsNothing();
    void setSettingAppearance();
    void setSettingBoolKeysEmit_data();
    void setSettingBoolKeysEmit();
    void unknownKeyThrowsAndWritesNothing_data();
    void unknownKeyThrowsAndWritesNothing();
    void resetSettingsSignalsInOrder();
    void resetSettingsIniContent();
    void resetSettingsKeepsCrossing();
    void languageIndexFollowsStore();
    void settingLanguageNeverAssigned();
    void languageNames();
    void settingChangedHitJson();
    void sessionIdSharedWithinControllerOnly();
    void hitNotSentWithoutConsent();

private:
    std::unique_ptr<DashboardSettingsController> m_controller;
};

void tst_DashboardSettingsController::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_DashboardSettingsController::init()
{
    auto store = DashboardSettings::openDashboardStore();
    store->clear();
    store->sync();
    QFile::remove(AnalyticsLibrary::hitFilePath());
    m_controller = std::make_unique<DashboardSettingsController>();
}

void tst_DashboardSettingsController::cleanup()
{
    m_controller.reset();
}

void tst_DashboardSettingsController::keyConstants()
{
    QCOMPARE(m_controller->property("KEY_APPEARANCE").toString(), QStringLiteral("appearance"));
    QCOMPARE(m_controller->property("KEY_LANGUAGE").toString(), QStringLiteral("language"));
    QCOMPARE(m_controller->property("KEY_UNITS").toString(), QStringLiteral("units"));
    QCOMPARE(m_controller->property("KEY_PRIVACY_ANALYTICS").toString(),
             QStringLiteral("sendAnalytics"));
    QCOMPARE(m_controller->property("KEY_HARDWARE").toString(),
             QStringLiteral("hardwareAcceleration"));
}

void tst_DashboardSettingsController::constructorDefaults()
{
    QCOMPARE(m_controller->settingUnits(), 0u);
    QCOMPARE(m_controller->settingAppearance(), true);
    QCOMPARE(m_controller->settingLanguageIndex(), 0u);
    QCOMPARE(m_controller->settingPrivacyAnalytics(), true);
    QCOMPARE(m_controller->settingHardware(), true);
    QCOMPARE(m_controller->settingLanguage(), QString());
    // Reading defaults writes nothing.
    QVERIFY(iniContent().isEmpty());
}

void tst_DashboardSettingsController::constructorReadsStore()
{
    {
        auto store = DashboardSettings::openDashboardStore();
        store->setValue(QStringLiteral("locale/units"), 2);
        store->setValue(QStringLiteral("appearance"), false);
        store->setValue(QStringLiteral("locale/language"), QStringLiteral("fr_FR"));
        store->setValue(QStringLiteral("sendAnalytics"), false);
        store->setValue(QStringLiteral("hardwareAcceleration"), false);
    }
    DashboardSettingsController controller;
    QCOMPARE(controller.settingUnits(), 2u);
    QCOMPARE(controller.settingAppearance(), false);
    QCOMPARE(controller.settingLanguageIndex(), uint(QVLocaleLanguages().indexOfLanguageCode("fr_FR")));
    QCOMPARE(controller.settingLanguageIndex(), 2u);
    QCOMPARE(controller.settingPrivacyAnalytics(), false);
    QCOMPARE(controller.settingHardware(), false);
    QCOMPARE(controller.property("settingUnits").toUInt(), 2u);
}

void tst_DashboardSettingsController::wrongTypesInIni_data()
{
    QTest::addColumn<QByteArray>("ini");
    QTest::addColumn<uint>("units");
    QTest::addColumn<bool>("appearance");
    QTest::addColumn<uint>("languageIndex");
    QTest::addColumn<bool>("analytics");
    QTest::addColumn<bool>("hardware");

    QTest::newRow("texts")
            << QByteArray("[General]\nappearance=maybe\nsendAnalytics=0\nhardwareAcceleration=\n"
                          "[locale]\nunits=abc\nlanguage=xx_YY\n")
            << 0u << true << 0u << false << false;
    QTest::newRow("negative and huge numbers")
            << QByteArray("[General]\nappearance=false\n[locale]\nunits=-5\nlanguage=42\n")
            << 0u << false << 0u << true << true;
    QTest::newRow("lists and variants")
            << QByteArray("[General]\nappearance=1, 2, 3\nsendAnalytics=@Variant(\\0\\0\\0\\x7f\\xff)\n"
                          "hardwareAcceleration=@ByteArray(\\xff)\n[locale]\nunits=@Rect(1 2 3 4)\n"
                          "language=de_DE, en_US\n")
            << 0u << false << 0u << false << true;
    static const char garbage[] = "\xff\xfe\x00[loc\x01\n=\n[[[\nappearance\n\x80\x81=\x82\n";
    QTest::newRow("binary garbage")
            << QByteArray(garbage, sizeof garbage - 1)
            << 0u << true << 0u << true << true;
}

void tst_DashboardSettingsController::wrongTypesInIni()
{
    QFETCH(QByteArray, ini);
    QFETCH(uint, units);
    QFETCH(bool, appearance);
    QFETCH(uint, languageIndex);
    QFETCH(bool, analytics);
    QFETCH(bool, hardware);

    m_controller.reset();
    if (QByteArray(QTest::currentDataTag()) == "lists and variants")
        QTest::ignoreMessage(QtWarningMsg, "QVariant::load: unknown user type with name .");
    {
        QFile file(storePath());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        QCOMPARE(file.write(ini), ini.size());
    }
    DashboardSettingsController controller;
    QCOMPARE(controller.settingUnits(), units);
    QCOMPARE(controller.settingAppearance(), appearance);
    QCOMPARE(controller.settingLanguageIndex(), languageIndex);
    QCOMPARE(controller.settingPrivacyAnalytics(), analytics);
    QCOMPARE(controller.settingHardware(), hardware);
    // The controller still works on top of such a file.
    controller.setSetting(QStringLiteral("units"), 3);
    QCOMPARE(controller.getSetting(QStringLiteral("units"), 0).toUInt(), 3u);
}

void tst_DashboardSettingsController::getSettingGroups_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("storedKey");

    QTest::newRow("appearance") << "appearance" << "appearance";
    QTest::newRow("language") << "language" << "locale/language";
    QTest::newRow("units") << "units" << "locale/units";
    QTest::newRow("sendAnalytics") << "sendAnalytics" << "sendAnalytics";
    QTest::newRow("hardwareAcceleration") << "hardwareAcceleration" << "hardwareAcceleration";
}

void tst_DashboardSettingsController::getSettingGroups()
{
    QFETCH(QString, key);
    QFETCH(QString, storedKey);

    QCOMPARE(m_controller->getSetting(key, QStringLiteral("fallback")).toString(),
             QStringLiteral("fallback"));
    DashboardSettings::openDashboardStore()->setValue(storedKey, QStringLiteral("stored"));
    QVariant result;
    QVERIFY(QMetaObject::invokeMethod(m_controller.get(), "getSetting", Q_RETURN_ARG(QVariant, result),
                                      Q_ARG(QString, key), Q_ARG(QVariant, QVariant(1))));
    QCOMPARE(result.toString(), QStringLiteral("stored"));
}

void tst_DashboardSettingsController::setSettingUnitsStoresInLocaleAndEmitsNothing()
{
    SignalLog log(m_controller.get());
    m_controller->setSetting(QStringLiteral("units"), 2);
    QCOMPARE(log.entries, QStringList());
    QCOMPARE(m_controller->settingUnits(), 0u);
    QCOMPARE(iniContent(), QByteArray("[locale]\nunits=2\n"));
    QCOMPARE(DashboardSettings::openDashboardStore()->value("locale/units").toInt(), 2);
}

void tst_DashboardSettingsController::setSettingLanguageEmitsNothing()
{
    SignalLog log(m_controller.get());
    m_controller->setSetting(QStringLiteral("language"), QStringLiteral("de_DE"));
    QCOMPARE(log.entries, QStringList());
    QCOMPARE(m_controller->settingLanguageIndex(), 0u);
    QCOMPARE(iniContent(), QByteArray("[locale]\nlanguage=de_DE\n"));
}

void tst_DashboardSettingsController::setSettingAppearance()
{
    SignalLog log(m_controller.get());
    QSignalSpy spy(m_controller.get(), &DashboardSettingsController::settingAppearanceChanged);
    QVERIFY(QMetaObject::invokeMethod(m_controller.get(), "setSetting",
                                      Q_ARG(QString, QStringLiteral("appearance")),
                                      Q_ARG(QVariant, QVariant(false))));
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toBool(), false);
    QCOMPARE(log.entries, QStringList { QStringLiteral("appearance(0)") });
    QCOMPARE(m_controller->settingAppearance(), false);
    QCOMPARE(iniContent(), QByteArray("[General]\nappearance=false\n"));

    // Emitted on every call, changed or not.
    m_controller->setSetting(QStringLiteral("appearance"), false);
    QCOMPARE(spy.size(), 2);
}

void tst_DashboardSettingsController::setSettingBoolKeysEmit_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("expectedLog");
    QTest::addColumn<QByteArray>("expectedIni");

    QTest::newRow("sendAnalytics false") << "sendAnalytics" << QVariant(false) << "privacy(0)"
                                         << QByteArray("[General]\nsendAnalytics=false\n");
    QTest::newRow("hardware false") << "hardwareAcceleration" << QVariant(false) << "hardware(0)"
                                    << QByteArray("[General]\nhardwareAcceleration=false\n");
    QTest::newRow("hardware text") << "hardwareAcceleration" << QVariant("yes") << "hardware(1)"
                                   << QByteArray("[General]\nhardwareAcceleration=yes\n");
    QTest::newRow("appearance number 0") << "appearance" << QVariant(0) << "appearance(0)"
                                         << QByteArray("[General]\nappearance=0\n");
}

void tst_DashboardSettingsController::setSettingBoolKeysEmit()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(QString, expectedLog);
    QFETCH(QByteArray, expectedIni);

    SignalLog log(m_controller.get());
    m_controller->setSetting(key, value);
    QCOMPARE(log.entries, QStringList { expectedLog });
    QCOMPARE(iniContent(), expectedIni);
}

void tst_DashboardSettingsController::unknownKeyThrowsAndWritesNothing_data()
{
    QTest::addColumn<QString>("key");
    QTest::newRow("unknown") << "colour";
    QTest::newRow("empty") << "";
    QTest::newRow("stored form") << "locale/units";
    QTest::newRow("case differs") << "Units";
    QTest::newRow("NUL inside") << QString::fromUtf16(u"units\0x", 7);
}

void tst_DashboardSettingsController::unknownKeyThrowsAndWritesNothing()
{
    QFETCH(QString, key);

    m_controller->setSetting(QStringLiteral("units"), 1);
    const QByteArray before = iniContent();
    SignalLog log(m_controller.get());

    bool thrown = false;
    try {
        m_controller->setSetting(key, 5);
    } catch (const std::out_of_range &e) {
        thrown = true;
        QCOMPARE(QByteArray(e.what()), QByteArray("map::at"));
    }
    QVERIFY(thrown);

    thrown = false;
    try {
        m_controller->getSetting(key, 5);
    } catch (const std::out_of_range &e) {
        thrown = true;
        QCOMPARE(QByteArray(e.what()), QByteArray("map::at"));
    }
    QVERIFY(thrown);

    QCOMPARE(iniContent(), before);
    QCOMPARE(log.entries, QStringList());
    const auto store = DashboardSettings::openDashboardStore();
    QCOMPARE(store->allKeys(), QStringList { QStringLiteral("locale/units") });
}

void tst_DashboardSettingsController::resetSettingsSignalsInOrder()
{
    m_controller->setSetting(QStringLiteral("units"), 2);
    m_controller->setSetting(QStringLiteral("language"), QStringLiteral("de_DE"));
    m_controller->setSetting(QStringLiteral("appearance"), false);
    m_controller->setSetting(QStringLiteral("sendAnalytics"), false);
    m_controller->setSetting(QStringLiteral("hardwareAcceleration"), false);

    SignalLog log(m_controller.get());
    QSignalSpy units(m_controller.get(), &DashboardSettingsController::settingUnitsChanged);
    QSignalSpy index(m_controller.get(), &DashboardSettingsController::settingLanguageIndexChanged);
    QSignalSpy appearance(m_controller.get(), &DashboardSettingsController::settingAppearanceChanged);
    QSignalSpy privacy(m_controller.get(), &DashboardSettingsController::settingPrivacyAnalyticsChanged);
    QSignalSpy hardware(m_controller.get(), &DashboardSettingsController::settingHardwareChanged);
    QSignalSpy language(m_controller.get(), &DashboardSettingsController::settingLanguageChanged);

    QVERIFY(QMetaObject::invokeMethod(m_controller.get(), "resetSettings"));

    const QStringList expected {
        QStringLiteral("units(0)"),
        QStringLiteral("languageIndex(0)"),
        QStringLiteral("appearance(1)"), QStringLiteral("appearance(1)"),
        QStringLiteral("privacy(1)"), QStringLiteral("privacy(1)"),
        QStringLiteral("hardware(1)"), QStringLiteral("hardware(1)"),
    };
    QCOMPARE(log.entries, expected);
    QCOMPARE(units.size(), 1);
    QCOMPARE(index.size(), 1);
    QCOMPARE(appearance.size(), 2);
    QCOMPARE(privacy.size(), 2);
    QCOMPARE(hardware.size(), 2);
    QCOMPARE(language.size(), 0);

    QCOMPARE(m_controller->settingUnits(), 0u);
    QCOMPARE(m_controller->settingLanguageIndex(), 0u);
    QCOMPARE(m_controller->settingAppearance(), true);
    QCOMPARE(m_controller->settingPrivacyAnalytics(), true);
    QCOMPARE(m_controller->settingHardware(), true);
}

void tst_DashboardSettingsController::resetSettingsIniContent()
{
    m_controller->resetSettings();
    QCOMPARE(iniContent(),
             QByteArray("[General]\nappearance=appearance\nhardwareAcceleration=true\n"
                        "sendAnalytics=true\n\n[locale]\nlanguage=en_US\nunits=0\n"));
    const auto store = DashboardSettings::openDashboardStore();
    QCOMPARE(store->value("locale/language").toString(), QStringLiteral("en_US"));
    QCOMPARE(store->value("sendAnalytics").toBool(), true);
    QCOMPARE(store->value("appearance").toString(), QStringLiteral("appearance"));
    QCOMPARE(m_controller->getSetting("appearance", false).toBool(), true);
}

void tst_DashboardSettingsController::resetSettingsKeepsCrossing()
{
    // The last step reads the stored hardware value back into the analytics-consent cache.
    // A writer that changes the stored value between the write and the read-back (here: a
    // slot on the first hardware signal, which setSetting emits in between) makes the
    // crossing visible: consent takes the hardware value, the hardware cache keeps its own.
    int hardwareSignals = 0;
    connect(m_controller.get(), &DashboardSettingsController::settingHardwareChanged, this,
            [&hardwareSignals](bool) {
                if (++hardwareSignals == 1)
                    DashboardSettings::openDashboardStore()->setValue(
                            QStringLiteral("hardwareAcceleration"), false);
            });
    QSignalSpy privacy(m_controller.get(), &DashboardSettingsController::settingPrivacyAnalyticsChanged);
    QSignalSpy hardware(m_controller.get(), &DashboardSettingsController::settingHardwareChanged);

    m_controller->resetSettings();

    QCOMPARE(hardwareSignals, 2);
    QCOMPARE(m_controller->settingPrivacyAnalytics(), false);
    QCOMPARE(m_controller->settingHardware(), true);
    // No consent signal for the crossed value; both hardware signals carry the hardware cache.
    QCOMPARE(privacy.size(), 2);
    QCOMPARE(privacy.at(1).at(0).toBool(), true);
    QCOMPARE(hardware.size(), 2);
    QCOMPARE(hardware.at(0).at(0).toBool(), true);
    QCOMPARE(hardware.at(1).at(0).toBool(), true);
}

void tst_DashboardSettingsController::languageIndexFollowsStore()
{
    m_controller->setSetting(QStringLiteral("language"), QStringLiteral("ja_JP"));
    // Only a reset or a new controller refreshes the index.
    QCOMPARE(m_controller->settingLanguageIndex(), 0u);
    DashboardSettingsController other;
    QCOMPARE(other.settingLanguageIndex(), 9u);
    QSignalSpy spy(&other, &DashboardSettingsController::settingLanguageIndexChanged);
    other.resetSettings();
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).toUInt(), 0u);
}

void tst_DashboardSettingsController::settingLanguageNeverAssigned()
{
    m_controller->setSetting(QStringLiteral("language"), QStringLiteral("de_DE"));
    m_controller->resetSettings();
    QCOMPARE(m_controller->settingLanguage(), QString());
    QCOMPARE(m_controller->property("settingLanguage").toString(), QString());
}

void tst_DashboardSettingsController::languageNames()
{
    QCOMPARE(m_controller->getLanguageEnglishName(0), QStringLiteral("English"));
    QCOMPARE(m_controller->getLanguageEnglishName(1), QStringLiteral("German"));
    QCOMPARE(m_controller->getLanguageEnglishName(-1), QString());
    QCOMPARE(m_controller->getLanguageEnglishName(1000), QString());

    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral(":/i18n/korvexdashboard_de.qm")));
    QCoreApplication::installTranslator(&translator);
    const QString german = m_controller->getLanguageEnglishName(1);
    QCoreApplication::removeTranslator(&translator);
    QCOMPARE(german, QStringLiteral("Deutsch"));
}

void tst_DashboardSettingsController::settingChangedHitJson()
{
    QSignalSpy spy(AnalyticsLibrary::instance(), &AnalyticsLibrary::analyticHitSent);
    QVERIFY(QMetaObject::invokeMethod(m_controller.get(), "sendAnalyticHit",
                                      Q_ARG(QString, QStringLiteral("units")),
                                      Q_ARG(QVariant, QVariant(2))));
    m_controller->sendAnalyticHit(QStringLiteral("appearance"), QVariant(false));
    QCOMPARE(spy.size(), 2);

    const QString session = m_controller->sessionId();
    QVERIFY(QRegularExpression(QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}$"))
                    .match(session).hasMatch());

    QCOMPARE(spy.at(0).at(0).value<AnalyticsLibrary::AnalyticHitType>(),
             AnalyticsLibrary::HIT_SETTING_CHANGE);
    QCOMPARE(int(spy.at(0).at(0).value<AnalyticsLibrary::AnalyticHitType>()), 6);
    // Field by field, whatever order the text has: exactly these four fields and values.
    QCOMPARE(spy.at(0).at(1).toJsonObject(),
             (QJsonObject { { "settingName", "units" }, { "newValue", "2" },
                            { "eventType", "Setting_Change" }, { "sessionId", session } }));
    QCOMPARE(spy.at(1).at(1).toJsonObject(),
             (QJsonObject { { "settingName", "appearance" }, { "newValue", "false" },
                            { "eventType", "Setting_Change" }, { "sessionId", session } }));
    // QJsonObject keeps its keys sorted, so this is the text every hit is sent as.
    const QByteArray first = R"({"eventType":"Setting_Change","newValue":"2","sessionId":")"
            + session.toUtf8() + R"(","settingName":"units"})";
    const QByteArray second = R"({"eventType":"Setting_Change","newValue":"false","sessionId":")"
            + session.toUtf8() + R"(","settingName":"appearance"})";
    QCOMPARE(QJsonDocument(spy.at(0).at(1).toJsonObject()).toJson(QJsonDocument::Compact), first);
    QCOMPARE(QJsonDocument(spy.at(1).at(1).toJsonObject()).toJson(QJsonDocument::Compact), second);

    QFile file(AnalyticsLibrary::hitFilePath());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    QCOMPARE(lines.size(), 3);
    const QRegularExpression envelope(QStringLiteral(
            R"(^\{"type":6,"timestamp":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z","hit":(.*)\}$)"));
    const auto m1 = envelope.match(QString::fromUtf8(lines.at(0)));
    QVERIFY2(m1.hasMatch(), lines.at(0).constData());
    QCOMPARE(m1.captured(1).toUtf8(), first);
    const auto m2 = envelope.match(QString::fromUtf8(lines.at(1)));
    QVERIFY2(m2.hasMatch(), lines.at(1).constData());
    QCOMPARE(m2.captured(1).toUtf8(), second);
}

void tst_DashboardSettingsController::sessionIdSharedWithinControllerOnly()
{
    QSignalSpy spy(AnalyticsLibrary::instance(), &AnalyticsLibrary::analyticHitSent);
    m_controller->sendAnalyticHit(QStringLiteral("units"), 1);
    m_controller->sendAnalyticHit(QStringLiteral("units"), 2);
    DashboardSettingsController other;
    other.sendAnalyticHit(QStringLiteral("units"), 3);
    QCOMPARE(spy.size(), 3);
    const auto sessionOf = [&spy](int i) {
        return spy.at(i).at(1).toJsonObject().value(QStringLiteral("sessionId")).toString();
    };
    QVERIFY(!sessionOf(0).isEmpty());
    QVERIFY(!sessionOf(0).contains(QLatin1Char('{')));
    QVERIFY(!sessionOf(0).contains(QLatin1Char('}')));
    QCOMPARE(sessionOf(1), sessionOf(0));
    QVERIFY(sessionOf(2) != sessionOf(0));
    QCOMPARE(sessionOf(2), other.sessionId());
}

void tst_DashboardSettingsController::hitNotSentWithoutConsent()
{
    m_controller->setSetting(QStringLiteral("sendAnalytics"), false);
    QSignalSpy spy(AnalyticsLibrary::instance(), &AnalyticsLibrary::analyticHitSent);
    m_controller->sendAnalyticHit(QStringLiteral("units"), 1);
    QCOMPARE(spy.size(), 0);
    QVERIFY(!QFile::exists(AnalyticsLibrary::hitFilePath()));
    m_controller->setSetting(QStringLiteral("sendAnalytics"), true);
    m_controller->sendAnalyticHit(QStringLiteral("units"), 1);
    QCOMPARE(spy.size(), 1);
}

QTEST_GUILESS_MAIN(tst_DashboardSettingsController)
#include "tst_dashboardsettingscontroller.moc"
