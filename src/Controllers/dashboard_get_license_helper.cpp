#include "Controllers/dashboard_get_license_helper.h"

#include "dashboard_logging.h"

#include <QCoreApplication>
#include <QFile>
#include <QLocale>
#include <QTextStream>

DashboardGetLicenseHelper::DashboardGetLicenseHelper(QObject *parent) : QObject(parent) { }

QString DashboardGetLicenseHelper::licenseFilePath()
{
    // The part before the last "_", upper-cased: "de_DE" -> "DE". A name without "_" ("C")
    // gives an empty tag; there is no fallback language.
    const QString localeName = QLocale().name();
    const qsizetype separator = localeName.lastIndexOf(QLatin1Char('_'));
    const QString tag = separator < 0 ? QString() : localeName.left(separator).toUpper();
    return QCoreApplication::applicationDirPath() + QLatin1Char('/') + QStringLiteral("eulas/")
            + QStringLiteral("license-Korvex PRO_") + tag + QStringLiteral(".txt");
}

void DashboardGetLicenseHelper::loadLicense()
{
    const QString path = licenseFilePath();
    QFile file(path);
    if (file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        QTextStream stream(&file);
        m_licenseText = stream.readAll();
        file.close();
    } else {
        KX_DEBUG(lcLicense, "Licence file %s not readable: %s", qUtf8Printable(path),
                 qUtf8Printable(file.errorString()));
        m_licenseText = QStringLiteral("Error: Unable to load license file ") + path;
    }
    Q_EMIT licenseTextChanged();
}
