#include "locale/qvlocale_languages.h"

#include "common/suite_store.h"

#include <QCoreApplication>
#include <QSettings>

#include <iterator>

namespace {

struct Language
{
    const char *code;
    const char *name;
};

// Order is part of the stored interface (settings hold indexes into it): append only.
const Language LANGUAGES[] = {
    { "en_US", QT_TRANSLATE_NOOP("QVLocaleLanguages", "English") },
    { "de_DE", QT_TRANSLATE_NOOP("QVLocaleLanguages", "German") },
    { "fr_FR", QT_TRANSLATE_NOOP("QVLocaleLanguages", "French") },
    { "es_ES", QT_TRANSLATE_NOOP("QVLocaleLanguages", "Spanish") },
    { "it_IT", QT_TRANSLATE_NOOP("QVLocaleLanguages", "Italian") },
    { "pt_BR", QT_TRANSLATE_NOOP("QVLocaleLanguages", "Portuguese (Brazil)") },
    { "nl_NL", QT_TRANSLATE_NOOP("QVLocaleLanguages", "Dutch") },
    { "pl_PL", QT_TRANSLATE_NOOP("QVLocaleLanguages", "Polish") },
    { "sv_SE", QT_TRANSLATE_NOOP("QVLocaleLanguages", "Swedish") },
    { "ja_JP", QT_TRANSLATE_NOOP("QVLocaleLanguages", "Japanese") },
    { "zh_CN", QT_TRANSLATE_NOOP("QVLocaleLanguages", "Chinese (Simplified)") },
    { "ko_KR", QT_TRANSLATE_NOOP("QVLocaleLanguages", "Korean") },
};
constexpr int LANGUAGE_COUNT = int(std::size(LANGUAGES));

bool inRange(int index)
{
    return index >= 0 && index < LANGUAGE_COUNT;
}

} // namespace

QVLocaleLanguages::QVLocaleLanguages(QObject *parent) : QObject(parent) { }

int QVLocaleLanguages::languageCount() const
{
    return LANGUAGE_COUNT;
}

QStringList QVLocaleLanguages::getTrLanguageNamesList() const
{
    QStringList names;
    names.reserve(LANGUAGE_COUNT);
    for (int i = 0; i < LANGUAGE_COUNT; ++i)
        names << getTrLanguageName(i);
    return names;
}

QString QVLocaleLanguages::getTrLanguageName(int index) const
{
    if (!inRange(index))
        return QString();
    return QCoreApplication::translate("QVLocaleLanguages", LANGUAGES[index].name);
}

QString QVLocaleLanguages::getLanguageCode(int index) const
{
    if (!inRange(index))
        return QString();
    return QString::fromLatin1(LANGUAGES[index].code);
}

int QVLocaleLanguages::indexOfLanguageCode(const QString &code) const
{
    for (int i = 0; i < LANGUAGE_COUNT; ++i)
        if (code == QLatin1String(LANGUAGES[i].code))
            return i;
    return -1;
}

int QVLocaleLanguages::getCurrentLanguageId() const
{
    // Same store the dashboard's settings controller writes.
    const QVariant stored = SuiteStore::openDashboardStore()->value(QStringLiteral("locale/language"));
    const int index = indexOfLanguageCode(stored.toString());
    return index >= 0 ? index : indexOfLanguageCode(QLatin1String(DEFAULT_LANGUAGE_CODE));
}
