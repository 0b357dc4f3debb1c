#include "models/settings_contents_models.h"

#include "locale/qvlocale_languages.h"

SettingsContentsModels::SettingsContentsModels(QObject *parent)
    : QObject(parent), m_localeLanguages(new QVLocaleLanguages(this))
{
    populateLanguagesModelList();
}

void SettingsContentsModels::populateLanguagesModelList()
{
    m_languagesModelList = m_localeLanguages->getTrLanguageNamesList();
}

QStringList SettingsContentsModels::getLanguagesModelList()
{
    return m_languagesModelList;
}

QString SettingsContentsModels::getLanguageCode(int index)
{
    return m_localeLanguages->getLanguageCode(index);
}
