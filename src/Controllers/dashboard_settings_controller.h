#pragma once

#include "korvexdashboard_export.h"

#include <QObject>
#include <QString>
#include <QVariant>

#include <map>

class QVLocaleLanguages;

// QML's access to the user's dashboard settings, with a cached copy of each for binding, the
// reset to defaults and the setting-changed analytics hit.
//
// Keys outside the key table are programming errors of the front end: the lookup throws
// std::out_of_range ("map::at") and nothing is read or written.
class KORVEXDASHBOARD_EXPORT DashboardSettingsController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString KEY_APPEARANCE READ keyAppearance CONSTANT)
    Q_PROPERTY(QString KEY_LANGUAGE READ keyLanguage CONSTANT)
    Q_PROPERTY(QString KEY_UNITS READ keyUnits CONSTANT)
    Q_PROPERTY(QString KEY_PRIVACY_ANALYTICS READ keyPrivacyAnalytics CONSTANT)
    Q_PROPERTY(QString KEY_HARDWARE READ keyHardware CONSTANT)

    Q_PROPERTY(bool settingAppearance READ settingAppearance NOTIFY settingAppearanceChanged)
    Q_PROPERTY(QString settingLanguage READ settingLanguage NOTIFY settingLanguageChanged)
    Q_PROPERTY(uint settingLanguageIndex READ settingLanguageIndex NOTIFY settingLanguageIndexChanged)
    Q_PROPERTY(uint settingUnits READ settingUnits NOTIFY settingUnitsChanged)
    Q_PROPERTY(bool settingPrivacyAnalytics READ settingPrivacyAnalytics NOTIFY settingPrivacyAnalyticsChanged)
    Q_PROPERTY(bool settingHardware READ settingHardware NOTIFY settingHardwareChanged)

public:
    explicit DashboardSettingsController(QObject *parent = nullptr);
    ~DashboardSettingsController() override;

    QString keyAppearance() const { return m_keyAppearance; }
    QString keyLanguage() const { return m_keyLanguage; }
    QString keyUnits() const { return m_keyUnits; }
    QString keyPrivacyAnalytics() const { return m_keyPrivacyAnalytics; }
    QString keyHardware() const { return m_keyHardware; }

    bool settingAppearance() const { return m_settingAppearance; }
    QString settingLanguage() const { return m_settingLanguage; }
    uint settingLanguageIndex() const { return m_settingLanguageIndex; }
    uint settingUnits() const { return m_settingUnits; }
    bool settingPrivacyAnalytics() const { return m_settingPrivacyAnalytics; }
    bool settingHardware() const { return m_settingHardware; }

    // The identifier every hit of this controller carries: a UUID without braces.
    QString sessionId() const { return m_sessionId; }

    Q_INVOKABLE QVariant getSetting(const QString &settingKey, const QVariant &defaultValue);
    Q_INVOKABLE void setSetting(const QString &settingKey, const QVariant &settingValue);
    Q_INVOKABLE void resetSettings();
    Q_INVOKABLE QString getLanguageEnglishName(int index);
    Q_INVOKABLE void sendAnalyticHit(const QString &settingName, const QVariant &newValue);

Q_SIGNALS:
    void settingAppearanceChanged(bool settingAppearance);
    void settingLanguageChanged(const QString &settingLanguage);
    void settingLanguageIndexChanged(uint settingLanguageIndex);
    void settingUnitsChanged(uint settingUnits);
    void settingPrivacyAnalyticsChanged(bool settingPrivacyAnalytics);
    void settingHardwareChanged(bool settingHardware);

private:
    QString storedKey(const QString &settingKey) const;

    QString m_keyAppearance;
    QString m_keyLanguage;
    QString m_keyUnits;
    QString m_keyPrivacyAnalytics;
    QString m_keyHardware;
    // Ordered key -> group; an empty group stores the key at the top level.
    std::map<QString, QString> m_keyGroups;

    QVLocaleLanguages *m_localeLanguages = nullptr;

    bool m_settingAppearance = true;
    QString m_settingLanguage;
    uint m_settingLanguageIndex = 0;
    uint m_settingUnits = 0;
    bool m_settingPrivacyAnalytics = true;
    bool m_settingHardware = true;
    QString m_sessionId;
};
