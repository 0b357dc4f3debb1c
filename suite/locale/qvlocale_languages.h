#pragma once

#include "korvexsuite_export.h"

#include <QObject>
#include <QString>
#include <QStringList>

// The languages the suite is offered in: one fixed, ordered list. An index into it means the
// same language to every caller (language pickers, the settings store, translations).
class KORVEXSUITE_EXPORT QVLocaleLanguages : public QObject
{
    Q_OBJECT

public:
    explicit QVLocaleLanguages(QObject *parent = nullptr);

    // Locale code of the language used when none is stored or the stored one is unknown.
    static constexpr const char *DEFAULT_LANGUAGE_CODE = "en_US";

    Q_INVOKABLE int languageCount() const;
    // Display names in the current translation, in list order.
    Q_INVOKABLE QStringList getTrLanguageNamesList() const;
    // One display name; empty for an index outside the list.
    Q_INVOKABLE QString getTrLanguageName(int index) const;
    // Locale code such as "en_US"; empty for an index outside the list.
    Q_INVOKABLE QString getLanguageCode(int index) const;
    // Index of a locale code; -1 when it is not in the list.
    Q_INVOKABLE int indexOfLanguageCode(const QString &code) const;
    // Index of the language stored as "locale/language" in the user's "KorvexPro" store; the
    // default language's index when none is stored or the stored code is not in the list.
    Q_INVOKABLE int getCurrentLanguageId() const;
};
