#pragma once

#include "korvexdashboard_export.h"

#include <QObject>
#include <QString>

// The end-user licence agreement in the user's language, read from the "eulas" folder
// installed beside the program, for the About page.
class KORVEXDASHBOARD_EXPORT DashboardGetLicenseHelper : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString licenseText READ licenseText NOTIFY licenseTextChanged)

public:
    explicit DashboardGetLicenseHelper(QObject *parent = nullptr);

    QString licenseText() const { return m_licenseText; }

    // Fills licenseText with the file's text, or with an error text naming the file.
    Q_INVOKABLE void loadLicense();

    // The licence file for the default locale.
    static QString licenseFilePath();

Q_SIGNALS:
    void licenseTextChanged();

private:
    QString m_licenseText;
};
