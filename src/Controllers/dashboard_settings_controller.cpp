#include "Controllers/dashboard_settings_controller.h"

#include "dashboard_logging.h"
#include "dashboard_settings.h"

#include "analytics/analytics_library.h"
#include "locale/qvlocale_languages.h"

#include <QJsonObject>
#include <QUuid>

#include <stdexcept>

DashboardSettingsController::DashboardSettingsController(QObject *parent)
    : QObject(parent),
      m_keyAppearance(QStringLiteral("appearance")),
      m_keyLanguage(QStringLiteral("language")),
      m_keyUnits(QStringLiteral("units")),
      m_keyPrivacyAnalytics(QStringLiteral("sendAnalytics")),
      m_keyHardware(QStringLiteral("hardwareAcceleration")),
      m_keyGroups { { m_keyAppearance, QString() },
                    { m_keyLanguage, QStringLiteral("locale") },
                    { m_keyUnits, QStringLiteral("locale") },
                    { m_keyPrivacyAnalytics, QString() },
                    { m_keyHardware, QString() } },
      m_localeLanguages(new QVLocaleLanguages(this))
{
    m_settingUnits = getSetting(m_keyUnits, 0).toUInt();
    m_settingAppearance = getSetting(m_keyAppearance, true).toBool();
    m_settingLanguageIndex = uint(m_localeLanguages->getCurrentLanguageId());
    m_settingPrivacyAnalytics = getSetting(m_keyPrivacyAnalytics, true).toBool();
    m_settingHardware = getSetting(m_keyHardware, true).toBool();
    m_sessionId = QUuid::createUuid().toString(QUuid::WithoutBraces);
}

DashboardSettingsController::~DashboardSettingsController() = default;

QString DashboardSettingsController::storedKey(const QString &settingKey) const
{
    // Same failure and text as std::map::at with libstdc++, on every platform.
    const auto group = m_keyGroups.find(settingKey);
    if (group == m_keyGroups.end())
        throw std::out_of_range("map::at");
    return group->second.isEmpty() ? settingKey : group->second + QLatin1Char('/') + settingKey;
}

QVariant DashboardSettingsController::getSetting(const QString &settingKey,
                                                 const QVariant &defaultValue)
{
    const QString key = storedKey(settingKey);
    const auto store = DashboardSettings::openDashboardStore();
    return store->value(key, defaultValue);
}

void DashboardSettingsController::setSetting(const QString &settingKey, const QVariant &settingValue)
{
    {
        const QString key = storedKey(settingKey);
        const auto store = DashboardSettings::openDashboardStore();
        store->setValue(key, settingValue);
    }

    if (settingKey == m_keyAppearance) {
        m_settingAppearance = getSetting(m_keyAppearance, true).toBool();
        Q_EMIT settingAppearanceChanged(m_settingAppearance);
    } else if (settingKey == m_keyPrivacyAnalytics) {
        m_settingPrivacyAnalytics = getSetting(m_keyPrivacyAnalytics, true).toBool();
        Q_EMIT settingPrivacyAnalyticsChanged(m_settingPrivacyAnalytics);
    } else if (settingKey == m_keyHardware) {
        m_settingHardware = getSetting(m_keyHardware, true).toBool();
        Q_EMIT settingHardwareChanged(m_settingHardware);
    }
}

void DashboardSettingsController::resetSettings()
{
    KX_DEBUG(lcSettings, "Resetting the dashboard settings to their defaults");

    setSetting(m_keyUnits, 0);
    m_settingUnits = getSetting(m_keyUnits, 0).toUInt();
    Q_EMIT settingUnitsChanged(m_settingUnits);

    setSetting(m_keyLanguage, QStringLiteral("en_US"));
    m_settingLanguageIndex = uint(m_localeLanguages->getCurrentLanguageId());
    Q_EMIT settingLanguageIndexChanged(m_settingLanguageIndex);

    // The key text itself is the stored value; any non-empty text reads back as true.
    setSetting(m_keyAppearance, m_keyAppearance);
    m_settingAppearance = getSetting(m_keyAppearance, true).toBool();
    Q_EMIT settingAppearanceChanged(m_settingAppearance);

    setSetting(m_keyPrivacyAnalytics, true);
    m_settingPrivacyAnalytics = getSetting(m_keyPrivacyAnalytics, true).toBool();
    Q_EMIT settingPrivacyAnalyticsChanged(m_settingPrivacyAnalytics);

    // Deliberately stored in the analytics-consent cache; the front end relies on the
    // signal sequence as it is.
    setSetting(m_keyHardware, true);
    m_settingPrivacyAnalytics = getSetting(m_keyHardware, true).toBool();
    Q_EMIT settingHardwareChanged(m_settingHardware);
}

QString DashboardSettingsController::getLanguageEnglishName(int index)
{
    return m_localeLanguages->getTrLanguageName(index);
}

void DashboardSettingsController::sendAnalyticHit(const QString &settingName, const QVariant &newValue)
{
    QJsonObject hit;
    hit.insert(QStringLiteral("settingName"), settingName);
    hit.insert(QStringLiteral("newValue"), newValue.toString());
    hit.insert(QStringLiteral("eventType"), QStringLiteral("Setting_Change"));
    hit.insert(QStringLiteral("sessionId"), m_sessionId);
    AnalyticsLibrary::sendAnalyticHit(AnalyticsLibrary::HIT_SETTING_CHANGE, hit);
}
