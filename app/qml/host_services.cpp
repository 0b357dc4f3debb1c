#include "host_services.h"

#include <dashboard_main_window.h>
#include <dashboard_settings.h>
#include <models/dashboard_main.h>

#include <QCoreApplication>
#include <QColor>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHash>
#include <QLocale>
#include <QMetaEnum>
#include <QPalette>
#include <QSettings>

HostServices::HostServices(const QString &labelFolder, QObject *parent)
    : QObject(parent), m_labelFolder(labelFolder)
{
    bool ok = false;
    const int timeout = qEnvironmentVariableIntValue("KORVEX_MODULE_START_TIMEOUT_MS", &ok);
    if (ok && timeout > 0)
        m_moduleStartTimeout = timeout;
}

QString HostServices::supportAddress() const
{
    return DashboardMain::mainSiteAddress() + QStringLiteral("/support/contact/");
}

QString HostServices::liveChatAddress() const
{
    return DashboardMain::mainSiteAddress() + QStringLiteral("/support/live-chat/");
}

QString HostServices::feedbackAddress() const
{
    return DashboardMain::mainSiteAddress() + QStringLiteral("/support/feedback/");
}

QString HostServices::historyFolder() const
{
    // Where QSettings keeps the INI stores of the organisation, user scope.
    QSettings probe(QSettings::IniFormat, QSettings::UserScope,
                    QString::fromLatin1(DashboardSettings::ORGANIZATION_NAME),
                    QStringLiteral("probe"));
    return QFileInfo(probe.fileName()).absolutePath();
}

QString HostServices::programPath(const QString &executableName) const
{
    if (executableName.isEmpty())
        return QString();
    return QCoreApplication::applicationDirPath() + QLatin1Char('/') + executableName;
}

bool HostServices::programExists(const QString &executableName) const
{
    const QFileInfo info(programPath(executableName));
    return !executableName.isEmpty() && info.isFile() && info.isExecutable();
}

bool HostServices::folderExists(const QString &path) const
{
    return !path.isEmpty() && QFileInfo(path).isDir();
}

QUrl HostServices::folderUrl(const QString &path) const
{
    return QUrl::fromLocalFile(path);
}

QString HostServices::languageName(const QString &code) const
{
    // Qt's own names carry the region where the list has one entry per language ("American
    // English", "español de España"); these are the names a language list shows.
    static const QHash<QString, QString> names {
        { QStringLiteral("en_US"), QStringLiteral("English") },
        { QStringLiteral("de_DE"), QStringLiteral("Deutsch") },
        { QStringLiteral("fr_FR"), QStringLiteral("Français") },
        { QStringLiteral("es_ES"), QStringLiteral("Español") },
        { QStringLiteral("it_IT"), QStringLiteral("Italiano") },
        { QStringLiteral("pt_BR"), QStringLiteral("Português (Brasil)") },
        { QStringLiteral("nl_NL"), QStringLiteral("Nederlands") },
        { QStringLiteral("pl_PL"), QStringLiteral("Polski") },
        { QStringLiteral("sv_SE"), QStringLiteral("Svenska") },
        { QStringLiteral("ja_JP"), QStringLiteral("日本語") },
        { QStringLiteral("zh_CN"), QStringLiteral("简体中文") },
        { QStringLiteral("ko_KR"), QStringLiteral("한국어") },
    };
    const auto known = names.constFind(code);
    if (known != names.cend())
        return *known;
    const QLocale locale(code);
    const QString native = locale.language() == QLocale::C ? QString() : locale.nativeLanguageName();
    if (native.isEmpty())
        return code;
    return locale.toUpper(native.left(1)) + native.mid(1);
}

QStringList HostServices::printersWithNewerFirmware() const
{
    return m_mainWindow ? m_mainWindow->printersWithNewerFirmware() : QStringList();
}

QString HostServices::readableAddress(const QUrl &address) const
{
    return address.isLocalFile() ? QDir::toNativeSeparators(address.toLocalFile()) : address.toString();
}

void HostServices::applyLanguage(const QString &code)
{
    if (m_languageHandler)
        m_languageHandler(code);
    if (code != m_languageCode) {
        m_languageCode = code;
        Q_EMIT languageCodeChanged();
    }
}

void HostServices::retranslateNavigation(DashboardMain *navigation) const
{
    if (!navigation)
        return;
    navigation->populateNavigation();
    navigation->populateResourcesNavigation();
}

void HostServices::applyPalette(const QVariantMap &colors)
{
    QPalette palette = QGuiApplication::palette();
    const QMetaEnum roles = QMetaEnum::fromType<QPalette::ColorRole>();
    for (auto it = colors.cbegin(); it != colors.cend(); ++it) {
        QByteArray name = it.key().toLatin1();
        if (name.isEmpty())
            continue;
        name[0] = QChar::toUpper(uchar(name[0]));
        bool ok = false;
        const int role = roles.keyToValue(name.constData(), &ok);
        const QColor color(it.value().toString());
        if (ok && color.isValid())
            palette.setColor(QPalette::ColorRole(role), color);
    }
    QGuiApplication::setPalette(palette);
}
