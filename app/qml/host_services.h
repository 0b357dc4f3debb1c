#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include "module_registry.h"

#include <models/dashboard_main.h>

#include <functional>

class DashboardMainWindow;
class ModuleRegistry;

// What the front end needs from the program that hosts it and that no dashboard class offers:
// where its label folder is, whether a module's program is installed, the support addresses,
// and switching the interface language. The host creates one and hands it to Main.qml.
class HostServices : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The host program provides its services.")
    Q_PROPERTY(QString labelFolder READ labelFolder CONSTANT)
    Q_PROPERTY(int moduleStartTimeout READ moduleStartTimeout CONSTANT)
    Q_PROPERTY(QString supportAddress READ supportAddress CONSTANT)
    Q_PROPERTY(QString liveChatAddress READ liveChatAddress CONSTANT)
    Q_PROPERTY(QString feedbackAddress READ feedbackAddress CONSTANT)
    Q_PROPERTY(QString languageCode READ languageCode NOTIFY languageCodeChanged)
    Q_PROPERTY(ModuleRegistry *modules READ modules CONSTANT)
    // Where the modules keep their view histories (one settings file per program).
    Q_PROPERTY(QString historyFolder READ historyFolder CONSTANT)

public:
    // Milliseconds a started module has to report its window before the front end gives up.
    static constexpr int DEFAULT_MODULE_START_TIMEOUT = 20000;

    using LanguageHandler = std::function<void(const QString &code)>;

    explicit HostServices(const QString &labelFolder, QObject *parent = nullptr);

    QString labelFolder() const { return m_labelFolder; }
    int moduleStartTimeout() const { return m_moduleStartTimeout; }
    void setModuleStartTimeout(int milliseconds) { m_moduleStartTimeout = milliseconds; }
    QString supportAddress() const;
    QString liveChatAddress() const;
    QString feedbackAddress() const;
    QString languageCode() const { return m_languageCode; }
    QString historyFolder() const;
    // The running modules; set by the host before the front end is made.
    ModuleRegistry *modules() const { return m_modules; }
    void setModules(ModuleRegistry *modules) { m_modules = modules; }
    void setMainWindow(DashboardMainWindow *window) { m_mainWindow = window; }
    // The printers the window's last firmware check found behind, by name.
    Q_INVOKABLE QStringList printersWithNewerFirmware() const;

    void setLanguageHandler(LanguageHandler handler) { m_languageHandler = std::move(handler); }

    // The file of a module's program beside the host, where the launcher starts it from.
    Q_INVOKABLE QString programPath(const QString &executableName) const;
    Q_INVOKABLE bool programExists(const QString &executableName) const;
    Q_INVOKABLE bool folderExists(const QString &path) const;
    Q_INVOKABLE QUrl folderUrl(const QString &path) const;
    // An address as a user reads it: a folder or file as its path, anything else as it is.
    Q_INVOKABLE QString readableAddress(const QUrl &address) const;
    // A language as its speakers name it ("de_DE" is "Deutsch"), whatever the interface's language.
    Q_INVOKABLE QString languageName(const QString &code) const;
    // Installs the translations of a locale code ("de_DE") and re-translates the interface.
    Q_INVOKABLE void applyLanguage(const QString &code);
    // Builds a navigation object's lists again in the language now installed. On the same
    // object: a new one would add the icon fonts to the font database once more.
    Q_INVOKABLE void retranslateNavigation(DashboardMain *navigation) const;
    // The application palette, so Qt Quick Controls and their popups follow the theme; keys
    // are QPalette role names in lower camel case ("window", "buttonText", ...).
    Q_INVOKABLE void applyPalette(const QVariantMap &colors);

Q_SIGNALS:
    void languageCodeChanged();

private:
    QString m_labelFolder;
    int m_moduleStartTimeout = DEFAULT_MODULE_START_TIMEOUT;
    QString m_languageCode;
    LanguageHandler m_languageHandler;
    ModuleRegistry *m_modules = nullptr;
    QPointer<DashboardMainWindow> m_mainWindow;
};
