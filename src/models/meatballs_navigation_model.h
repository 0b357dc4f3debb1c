#pragma once

#include "korvexdashboard_export.h"

#include <QMetaType>
#include <QObject>
#include <QString>
#include <QVariantList>

// Rows of the dashboard's overflow (three-dot) menu.
class KORVEXDASHBOARD_EXPORT MeatballsNavigationModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList meatballsNavItemsList READ getMeatballsNavItemsList NOTIFY meatballsNavItemsListChanged)

public:
    enum MeatballsNavigationType {
        NAV_NULL = -1,
        NAV_ABOUT,
        NAV_SETTINGS,
        NAV_QUIT,
    };
    Q_ENUM(MeatballsNavigationType)

    explicit MeatballsNavigationModel(QObject *parent = nullptr);

    QVariantList getMeatballsNavItemsList() const;
    Q_INVOKABLE void populateMeatballsNavItemsList();

Q_SIGNALS:
    void meatballsNavItemsListChanged();

private:
    QVariantList m_meatballsNavItemsList;
};

// One row of the overflow menu, handed to QML by value.
struct KORVEXDASHBOARD_EXPORT MeatballsNavigationItem
{
    Q_GADGET
    Q_PROPERTY(QString navIcon MEMBER navIcon)
    Q_PROPERTY(QString navName MEMBER navName)
    Q_PROPERTY(MeatballsNavigationModel::MeatballsNavigationType navType MEMBER navType)

public:
    QString navIcon;
    QString navName;
    MeatballsNavigationModel::MeatballsNavigationType navType = MeatballsNavigationModel::NAV_NULL;
};

Q_DECLARE_METATYPE(MeatballsNavigationItem)
