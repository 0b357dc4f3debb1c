#pragma once

#include "korvexdashboard_export.h"

#include <QMetaType>
#include <QObject>
#include <QString>
#include <QVariantList>

// Sections in the left column of the settings page.
class KORVEXDASHBOARD_EXPORT SettingsNavigationModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList settingsNavItemsList READ getSettingsNavItemsList NOTIFY settingsNavItemsListChanged)

public:
    enum SettingsNavigationType {
        NAV_NULL = -1,
        NAV_UNITS,
        NAV_LANGUAGE,
        NAV_APPEARANCE,
        NAV_PRIVACY,
        NAV_CLOUD,
        NAV_RESET,
    };
    Q_ENUM(SettingsNavigationType)

    explicit SettingsNavigationModel(QObject *parent = nullptr);

    QVariantList getSettingsNavItemsList() const;
    Q_INVOKABLE void populateSettingsNavItemsList();

Q_SIGNALS:
    void settingsNavItemsListChanged();

private:
    QVariantList m_settingsNavItemsList;
};

// One section of the settings page, handed to QML by value.
struct KORVEXDASHBOARD_EXPORT SettingsNavigationItem
{
    Q_GADGET
    Q_PROPERTY(QString navIcon MEMBER navIcon)
    Q_PROPERTY(QString navName MEMBER navName)
    Q_PROPERTY(SettingsNavigationModel::SettingsNavigationType navType MEMBER navType)

public:
    QString navIcon;
    QString navName;
    SettingsNavigationModel::SettingsNavigationType navType = SettingsNavigationModel::NAV_NULL;
};

Q_DECLARE_METATYPE(SettingsNavigationItem)
