#include "dashboard_host.h"

#include "host_services.h"
#include "label_folder.h"
#include "launch_forwarding.h"
#include "module_registry.h"
#include "platform_choice.h"
#include "quit_signals.h"
#include "start_shell.h"

#include <Controllers/dashboard_settings_controller.h>
#include <dashboard_main_window.h>
#include <native_window_system.h>
#include <locale/qvlocale_languages.h>
#include <printing/printer_directory.h>

#include <logging/cute_logger.h>

#include <QAccessible>
#include <QCoreApplication>
#include <QLoggingCategory>
#include <QDir>
#include <QFileInfo>
#include <QEvent>
#include <QFontDatabase>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlError>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QThread>
#include <QTimer>
#include <QTranslator>
#include <QtQml/qqmlextensionplugin.h>

#include <utility>

Q_IMPORT_QML_PLUGIN(Korvex_DashboardPlugin)

Q_LOGGING_CATEGORY(lcHost, "korvex.dashboard.host")

// Qt Quick reads the items' QML accessibility properties through a lookup it makes once per
// process: made before QtQuick's types are registered (a screen reader reading the window, or
// its focus, while the shell shows), it finds none for the rest of the run and every page loses
// its names and roles. With accessibility on, the engine imports QtQuick before that can happen.
class DashboardHost::AccessibilityWatch : public QAccessible::ActivationObserver
{
public:
    explicit AccessibilityWatch(DashboardHost *host) : m_host(host) { QAccessible::installActivationObserver(this); }
    ~AccessibilityWatch() override { QAccessible::removeActivationObserver(this); }
    void accessibilityActiveChanged(bool active) override
    {
        if (active)
            m_host->makeEngine();
    }

private:
    DashboardHost *m_host;
};

DashboardHost::DashboardHost(QObject *parent) : QObject(parent) {}

DashboardHost::~DashboardHost()
{
    delete m_quitSignals;
    m_quitSignals = nullptr;
    // The printer directory outlives this host.
    releasePrinters();
    if (m_fontWarmUp) {
        m_fontWarmUp->wait();
        delete m_fontWarmUp;
    }
    // The front end goes first: its items live in the window and its objects in the engine.
    delete m_root.data();
    delete m_shell.data();
    delete m_modules;
    m_modules = nullptr;
    m_window.reset();
    m_engine.reset();
    removeTranslators();
}

void DashboardHost::removeTranslators()
{
    for (QTranslator *translator : std::as_const(m_translators)) {
        QCoreApplication::removeTranslator(translator);
        delete translator;
    }
    m_translators.clear();
}

void DashboardHost::applyLanguage(const QString &code)
{
    removeTranslators();
    const QString language = code.section(QLatin1Char('_'), 0, 0);
    const QString qtTranslations = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    const std::pair<QString, QString> catalogues[] = {
        { QStringLiteral(":/i18n"), QStringLiteral("korvexdashboard_") },
        { QStringLiteral(":/i18n"), QStringLiteral("korvexfrontend_") },
        { qtTranslations, QStringLiteral("qtbase_") },
    };
    for (const auto &[folder, prefix] : catalogues) {
        auto *translator = new QTranslator;
        if (!language.isEmpty() && translator->load(prefix + language, folder)) {
            QCoreApplication::installTranslator(translator);
            m_translators.append(translator);
        } else {
            delete translator;
        }
    }
    if (!code.isEmpty())
        QLocale::setDefault(QLocale(code));
    if (m_engine)
        m_engine->retranslate();
}

void DashboardHost::releasePrinters()
{
    if (std::exchange(m_printersHeld, false))
        PrinterDirectory::instance()->setRealPrintersEnabled(true);
}

void DashboardHost::warmUpFonts()
{
    // QFontDatabase is thread-safe; the first query fills it from fontconfig.
    if (m_fontWarmUp)
        return;
    m_fontWarmUp = QThread::create([] { QFontDatabase::families(); });
    m_fontWarmUp->setObjectName(QStringLiteral("font warm-up"));
    m_fontWarmUp->start(QThread::LowPriority);
}

bool DashboardHost::start(const Options &options)
{
    m_errors.clear();
    QStringList files;
    for (const QString &file : options.files)
        files << QFileInfo(file).absoluteFilePath();
    if (options.singleInstance) {
        m_forwarding = new LaunchForwarding(QString(), this);
        // Listening from the start: a launch while this one still starts waits for it, as
        // long as a start may take on a busy machine.
        switch (m_forwarding->handOverOrListen(files, HAND_OVER_TIMEOUT_MS)) {
        case LaunchForwarding::Start::HandedOver:
            m_handedOver = true;
            return true;
        case LaunchForwarding::Start::NoAnswer:
            m_errors << tr("A Korvex PRO dashboard is already running but did not answer within %1 seconds; "
                           "no second one is started.").arg(HAND_OVER_TIMEOUT_MS / 1000);
            return false;
        case LaunchForwarding::Start::Failed:
            KX_DEBUG(lcHost, "Dashboard Error: later launches cannot reach this dashboard.");
            break;
        case LaunchForwarding::Start::Listening:
            break;
        }
        connect(m_forwarding, &LaunchForwarding::launched, this, &DashboardHost::openFiles);
    }
    m_filesToOpen = files;
    // One style on every system (the front end is drawn and tested in Fusion), unless the
    // user asks for another; it is chosen once per process, before any control is loaded.
    if (qEnvironmentVariableIsEmpty("QT_QUICK_CONTROLS_STYLE") && QQuickStyle::name() != QLatin1String("Fusion"))
        QQuickStyle::setStyle(QStringLiteral("Fusion"));

    {
        const QVLocaleLanguages languages;
        applyLanguage(languages.getLanguageCode(languages.getCurrentLanguageId()));
    }

    m_labelFolder = options.labelFolder.isEmpty() ? LabelFolder::defaultPath() : options.labelFolder;
    if (options.seedLabelFolder)
        LabelFolder::seed(m_labelFolder);

    // Reading the machine's printers loads the print system's libraries on a thread of its
    // own, which the first screen does not need: it waits until the front end is drawn.
    if (options.show && PrinterDirectory::instance()->realPrintersEnabled()) {
        PrinterDirectory::instance()->setRealPrintersEnabled(false);
        m_printersHeld = true;
    }

    m_window = std::make_unique<DashboardMainWindow>();
    m_window->setTitle(QStringLiteral("Korvex PRO"));
    m_window->setMinimumSize(QSize(900, 560));
    m_window->setTestModeEnabled(options.testMode);
    // Until the front end is made, the window shows its shell: on screen at once, in the
    // user's theme, where the pages then fill in. The engine and the front end's types
    // (controls, layouts) cost several times an empty window's start.
    m_shell = new StartShell(!DashboardSettingsController().settingAppearance(), m_window->contentItem());

    m_services = new HostServices(m_labelFolder, this);
    m_services->setLanguageHandler([this](const QString &code) { applyLanguage(code); });

    m_modules = new ModuleRegistry(m_window->launcher(), m_window->messagingHelper());
    m_modules->takeReadyReportsFrom(m_window.get());
    m_modules->setStartTimeout(m_services->moduleStartTimeout());
    m_modules->setModulesInOwnWindows(PlatformChoice::modulesOpenInOwnWindows(
            QGuiApplication::platformName().toLatin1(), NativeWindowSystem::backend()->name()));
    bool ok = false;
    const int quitWait = qEnvironmentVariableIntValue("KORVEX_QUIT_WAIT_MS", &ok);
    if (ok && quitWait >= 0)
        m_modules->setQuitWait(quitWait);
    m_services->setModules(m_modules);
    m_services->setMainWindow(m_window.get());
    connect(m_modules, &ModuleRegistry::quitReady, QCoreApplication::instance(), &QCoreApplication::quit,
            Qt::QueuedConnection);
    // The window's close button and the window manager's close (Alt+F4) ask, like the menu.
    m_window->installEventFilter(this);
    if (options.quitOnSignals) {
        m_quitSignals = new QuitSignals;
        connect(m_quitSignals, &QuitSignals::quitRequested, this, [this] { requestQuit(); });
    }

    const QUrl frontEnd = options.frontEnd.isEmpty() ? QUrl(QStringLiteral("qrc:/qt/qml/Korvex/Dashboard/Main.qml"))
                                                     : options.frontEnd;
    if (!options.show)
        return makeFrontEnd(frontEnd);
    connect(m_window.get(), &QQuickWindow::frameSwapped, this, [this, frontEnd] {
        // Reading the system's fonts is the first text's biggest cost; another thread does
        // it while this one makes the front end.
        warmUpFonts();
        QTimer::singleShot(0, this, [this, frontEnd] {
            if (!makeFrontEnd(frontEnd)) {
                releasePrinters();
                Q_EMIT failed();
            }
        });
    }, Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));
    // Without a screen reader the engine waits for the first frame (see AccessibilityWatch).
    if (QAccessible::isActive())
        makeEngine();
    else
        m_accessibilityWatch = std::make_unique<AccessibilityWatch>(this);
    m_window->show();
    return true;
}

void DashboardHost::makeEngine()
{
    if (m_engine)
        return;
    m_engine = std::make_unique<QQmlEngine>();
    connect(m_engine.get(), &QQmlEngine::quit, this, &DashboardHost::requestQuit, Qt::QueuedConnection);
    m_engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQmlComponent imports(m_engine.get());
    imports.setData(QByteArrayLiteral("import QtQuick\nQtObject {}\n"), QUrl());
}

bool DashboardHost::makeFrontEnd(const QUrl &document)
{
    m_accessibilityWatch.reset();
    QElapsedTimer clock;
    clock.start();
    const auto lap = [&clock] { return clock.nsecsElapsed() / 1e6; };
    makeEngine();
    const double engineDone = lap();
    QQmlComponent component(m_engine.get(), document);
    const double typesDone = lap();
    if (!component.isReady()) {
        // Creating from a component that failed to load crashes in Qt 6.4.
        for (const QQmlError &error : component.errors())
            m_errors.append(error.toString());
        if (m_errors.isEmpty())
            m_errors.append(QStringLiteral("The front end did not load."));
        return false;
    }
    QObject *object = component.createWithInitialProperties(
            { { QStringLiteral("mainWindow"), QVariant::fromValue(static_cast<QObject *>(m_window.get())) },
              { QStringLiteral("host"), QVariant::fromValue(static_cast<QObject *>(m_services)) } });
    const double objectsDone = lap();
    m_root = qobject_cast<QQuickItem *>(object);
    if (!m_root) {
        for (const QQmlError &error : component.errors())
            m_errors.append(error.toString());
        if (m_errors.isEmpty())
            m_errors.append(QStringLiteral("The front end's root is not an item."));
        delete object;
        return false;
    }
    m_root->setParentItem(m_window->contentItem());
    delete m_shell.data();
    m_frontEndTimes = { engineDone, typesDone - engineDone, objectsDone - typesDone };
    KX_DEBUG(lcHost, "Front end made in %.1f ms: engine %.1f ms, types %.1f ms, objects %.1f ms",
             objectsDone, m_frontEndTimes.engine, m_frontEndTimes.types, m_frontEndTimes.objects);
    if (!m_filesToOpen.isEmpty())
        QTimer::singleShot(0, this, [this] { openFiles({}); });
    // What the first screen does not show is made once it is out, before anyone can ask.
    connect(m_window.get(), &QQuickWindow::frameSwapped, this, [this] {
        QTimer::singleShot(0, this, [this] {
            if (m_root)
                QMetaObject::invokeMethod(m_root, "makeDeferredParts");
            releasePrinters();
        });
    }, Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));
    Q_EMIT ready();
    return true;
}

void DashboardHost::requestQuit()
{
    if (m_modules)
        m_modules->requestQuit();
    else
        QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit, Qt::QueuedConnection);
}

bool DashboardHost::eventFilter(QObject *object, QEvent *event)
{
    // Once the modules are gone the application's quit closes the window for real.
    if (object == m_window.get() && event->type() == QEvent::Close && !(m_modules && m_modules->isQuitDone())) {
        // The window stays until the modules are gone; quitting then destroys it.
        KX_DEBUG(lcHost, "The window was asked to close");
        event->ignore();
        requestQuit();
        return true;
    }
    return QObject::eventFilter(object, event);
}

void DashboardHost::openFiles(const QStringList &files)
{
    m_filesToOpen += files;
    if (m_window) {
        if (m_window->windowStates() & Qt::WindowMinimized)
            m_window->setWindowStates(m_window->windowStates() & ~Qt::WindowMinimized);
        m_window->show();
        m_window->raise();
        m_window->requestActivate();
    }
    // Until the front end is in, a module's window would have nowhere to go.
    if (!isReady() || !m_modules)
        return;
    const QStringList pending = std::exchange(m_filesToOpen, {});
    for (const QString &file : pending) {
        const auto type = m_window->getFileArgumentApplicationType(file);
        if (type != DashboardGlobal::APP_NULL)
            m_modules->open(type, file);
    }
}
