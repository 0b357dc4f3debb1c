#pragma once

#include "korvexdashboard_export.h"

#include <QObject>
#include <QString>
#include <QStringList>

class QVLocaleLanguages;

// Contents of the settings panes: the selectable languages, by list index.
class KORVEXDASHBOARD_EXPORT SettingsContentsModels : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QStringList languagesModelList READ getLanguagesModelList NOTIFY languagesModelListChanged)

public:
    explicit SettingsContentsModels(QObject *parent = nullptr);

    Q_INVOKABLE void populateLanguagesModelList();
    Q_INVOKABLE QStringList getLanguagesModelList();
    // Locale code such as "en_US" of the language at a list index; empty outside the list.
    Q_INVOKABLE QString getLanguageCode(int index);

Q_SIGNALS:
    void languagesModelListChanged();

private:
    QVLocaleLanguages *m_localeLanguages = nullptr;
    QStringList m_languagesModelList;
};
